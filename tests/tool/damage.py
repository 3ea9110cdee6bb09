"""Writes three seconds of a tone in every form as whole.EXT, its first half as half.EXT, and the same without a part in its
middle as hole.EXT: damage.py. Also endless.wav, whose header does not know its length."""
import numpy as np
import soundfile

FORMS = {"aiff": ("AIFF", "PCM_16"), "au": ("AU", "PCM_16"), "caf": ("CAF", "PCM_16"), "flac": ("FLAC", "PCM_16"),
         "mp3": ("MP3", "MPEG_LAYER_III"), "oga": ("OGG", "VORBIS"), "opus": ("OGG", "OPUS"), "rf64": ("RF64", "PCM_16"),
         "sph": ("NIST", "PCM_16"), "w64": ("W64", "PCM_16"), "wav": ("WAV", "PCM_16")}
RATE = 24000

time = np.arange(3 * RATE) / RATE
sound = sum(0.2 / h * np.sin(2 * np.pi * 200 * h * time) for h in range(1, 7))
sound += 0.01 * np.random.default_rng(1).standard_normal(3 * RATE)


def save(name, content):
    with open(name, "wb") as out:
        out.write(content)


for extension, (form, coding) in FORMS.items():
    soundfile.write("whole." + extension, sound, RATE, format=form, subtype=coding)
    with open("whole." + extension, "rb") as file:
        content = file.read()
    half = len(content) // 2 + 1
    save("half." + extension, content[:half])
    save("hole." + extension, content[:half] + content[half + len(content) // 10:])
    if extension == "wav":
        save("endless.wav", content.replace(b"data" + (6 * RATE).to_bytes(4, "little"), b"data\xff\xff\xff\xff"))
