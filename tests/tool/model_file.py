"""The layer weight file: a list of (name, [(shape, values)])."""
import struct


def read(path):
    with open(path, "rb") as f:
        data = f.read()
    position = 4
    layers = []

    def take(form):
        nonlocal position
        values = struct.unpack_from("<" + form, data, position)
        position += struct.calcsize("<" + form)
        return values

    for _ in range(struct.unpack_from("<I", data)[0]):
        name = take("%ds" % take("B"))[0].decode()
        tensors = []
        for _ in range(take("i")[0]):
            shape = list(take("%di" % take("i")))
            count = 1
            for d in shape:
                count *= d
            tensors.append((shape, list(take("%df" % count))))
        layers.append((name, tensors))
    return layers


def write(path, layers):
    with open(path, "wb") as out:
        out.write(struct.pack("<I", len(layers)))
        for name, tensors in layers:
            out.write(struct.pack("<B", len(name)) + name.encode() + struct.pack("<i", len(tensors)))
            for shape, values in tensors:
                out.write(struct.pack("<i%di" % len(shape), len(shape), *shape))
                out.write(struct.pack("<%df" % len(values), *values))
