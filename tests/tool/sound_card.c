/* A sound card for ALSA that records what a file holds, and is unplugged at its end. In ~/.asoundrc:
 *
 *     pcm_type.recording { lib "FOLDER/libsound-card.so" }
 *     ctl_type.recording { lib "FOLDER/libsound-card.so" }
 *     pcm.!default { type recording file "samples.raw" }
 *     ctl.!default { type recording }
 *
 * One channel of 32-bit floats at 44.1 kHz. It comes no faster than time, and waits for a reader that is late. */
#include <alsa/asoundlib.h>
#include <alsa/control_external.h>
#include <alsa/pcm_external.h>
#include <stdio.h>
#include <sys/timerfd.h>
#include <time.h>
#include <unistd.h>

enum { kRate = 44100 };

typedef struct {
    snd_pcm_ioplug_t io; /* the first: what ALSA hands back */
    FILE* sound;
    long frames; /* in the file */
    long taken;
    struct timespec start;
} Card;

static int start(snd_pcm_ioplug_t* io) { return clock_gettime(CLOCK_MONOTONIC, &((Card*)io)->start); }

static int stop(snd_pcm_ioplug_t* io) {
    (void)io;
    return 0;
}

static snd_pcm_sframes_t pointer(snd_pcm_ioplug_t* io) {
    const Card* card = (const Card*)io;
    struct timespec now;
    clock_gettime(CLOCK_MONOTONIC, &now);
    const double seconds =
        (double)(now.tv_sec - card->start.tv_sec) + 1e-9 * (double)(now.tv_nsec - card->start.tv_nsec);
    long recorded = (long)(seconds * kRate);
    if (card->taken == card->frames) return -ENODEV;
    if (recorded > card->taken + (long)io->period_size) recorded = card->taken + (long)io->period_size;
    if (recorded > card->frames) recorded = card->frames;
    return (snd_pcm_sframes_t)((unsigned long)recorded % io->buffer_size);
}

static snd_pcm_sframes_t transfer(snd_pcm_ioplug_t* io, const snd_pcm_channel_area_t* areas, snd_pcm_uframes_t offset,
                                  snd_pcm_uframes_t count) {
    Card* card = (Card*)io;
    float* to = (float*)((char*)areas[0].addr + areas[0].first / 8) + offset;
    card->taken += (long)fread(to, sizeof *to, count, card->sound);
    return (snd_pcm_sframes_t)count;
}

static int elapsed(snd_pcm_ioplug_t* io, struct pollfd* fds, unsigned int count, unsigned short* events) {
    unsigned long long ticks;
    (void)io;
    (void)count;
    *events = read(fds[0].fd, &ticks, sizeof ticks) > 0 ? POLLIN : 0;
    return 0;
}

static int closeCard(snd_pcm_ioplug_t* io) {
    Card* card = (Card*)io;
    fclose(card->sound);
    close(io->poll_fd);
    free(card);
    return 0;
}

static const snd_pcm_ioplug_callback_t kCard = {.start = start,
                                                .stop = stop,
                                                .pointer = pointer,
                                                .transfer = transfer,
                                                .close = closeCard,
                                                .poll_revents = elapsed};

SND_PCM_PLUGIN_DEFINE_FUNC(recording) {
    const char* file = NULL;
    snd_config_iterator_t i, next;
    (void)root;
    snd_config_for_each(i, next, conf) {
        const char* id;
        if (snd_config_get_id(snd_config_iterator_entry(i), &id) == 0 && strcmp(id, "file") == 0)
            snd_config_get_string(snd_config_iterator_entry(i), &file);
    }
    FILE* const sound = file == NULL || stream != SND_PCM_STREAM_CAPTURE ? NULL : fopen(file, "rb");
    if (sound == NULL) return -ENODEV;
    fseek(sound, 0, SEEK_END);
    Card* const card = calloc(1, sizeof *card);
    card->sound = sound;
    card->frames = ftell(sound) / (long)sizeof(float);
    rewind(sound);
    card->io.version = SND_PCM_IOPLUG_VERSION;
    card->io.name = "a recording";
    card->io.callback = &kCard;
    card->io.poll_fd = timerfd_create(CLOCK_MONOTONIC, TFD_NONBLOCK);
    card->io.poll_events = POLLIN;
    const struct itimerspec interval = {{0, 2000000}, {0, 2000000}};
    timerfd_settime(card->io.poll_fd, 0, &interval, NULL);
    const unsigned access = SND_PCM_ACCESS_RW_INTERLEAVED, format = SND_PCM_FORMAT_FLOAT_LE;
    int error = snd_pcm_ioplug_create(&card->io, name, stream, mode);
    if (error == 0) error = snd_pcm_ioplug_set_param_list(&card->io, SND_PCM_IOPLUG_HW_ACCESS, 1, &access);
    if (error == 0) error = snd_pcm_ioplug_set_param_list(&card->io, SND_PCM_IOPLUG_HW_FORMAT, 1, &format);
    if (error == 0) error = snd_pcm_ioplug_set_param_minmax(&card->io, SND_PCM_IOPLUG_HW_CHANNELS, 1, 1);
    if (error == 0) error = snd_pcm_ioplug_set_param_minmax(&card->io, SND_PCM_IOPLUG_HW_RATE, kRate, kRate);
    *pcmp = card->io.pcm;
    return error;
}
SND_DLSYM_BUILD_VERSION(SND_PCM_PLUGIN_ENTRY(recording), SND_PCM_DLSYM_VERSION)

/* Controls that there are none of: without them no program believes in the card. */
static int noElements(snd_ctl_ext_t* ext) {
    (void)ext;
    return 0;
}

static snd_ctl_ext_key_t noKey(snd_ctl_ext_t* ext, const snd_ctl_elem_id_t* id) {
    (void)ext;
    (void)id;
    return SND_CTL_EXT_KEY_NOT_FOUND;
}

static const snd_ctl_ext_callback_t kControls = {.elem_count = noElements, .find_elem = noKey};

SND_CTL_PLUGIN_DEFINE_FUNC(recording) {
    static snd_ctl_ext_t controls = {
        .version = SND_CTL_EXT_VERSION, .name = "a recording", .poll_fd = -1, .callback = &kControls};
    (void)root;
    (void)conf;
    const int error = snd_ctl_ext_create(&controls, name, mode);
    *handlep = controls.handle;
    return error;
}
SND_DLSYM_BUILD_VERSION(SND_CTL_PLUGIN_ENTRY(recording), SND_CONTROL_DLSYM_VERSION)
