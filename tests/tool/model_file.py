"""The layer weight file: a list of (name, [array])."""
import struct

import numpy as np


def read(path):
    with open(path, "rb") as f:
        data = f.read()
    position = 4
    layers = []

    def take(form):
        nonlocal position
        position += struct.calcsize("<" + form)
        return struct.unpack_from("<" + form, data, position - struct.calcsize("<" + form))

    for _ in range(struct.unpack_from("<I", data)[0]):
        name = take("%ds" % take("B"))[0].decode()
        tensors = []
        for _ in range(take("i")[0]):
            shape = take("%di" % take("i"))
            tensors.append(np.array(take("%df" % np.prod(shape)), "<f4").reshape(shape))
        layers.append((name, tensors))
    return layers


def write(path, layers):
    with open(path, "wb") as out:
        out.write(struct.pack("<I", len(layers)))
        for name, tensors in layers:
            out.write(struct.pack("<B", len(name)) + name.encode() + struct.pack("<i", len(tensors)))
            for values in tensors:
                out.write(struct.pack("<i%di" % values.ndim, values.ndim, *values.shape))
                out.write(np.ascontiguousarray(values, "<f4").tobytes())
