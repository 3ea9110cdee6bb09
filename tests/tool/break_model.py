"""Copies a weight file with one layer changed: break_model.py IN OUT CHANGE LAYER [TENSOR] [VALUE].

drop LAYER                  leaves the layer out
drop-tensor LAYER T         leaves one of its tensors out
shape LAYER T 3,70,71       gives a tensor this shape, filled with 0.01
value LAYER T nan           sets the tensor's last value
gain LAYER 70               appends a gain of that length, all ones, shaped [1,1,K]
spare LAYER VALUE           appends a layer that the engine does not ask for, with a tensor that ends with the value
"""
import sys

import numpy as np

from model_file import read, write


def change(layers, what, name, arguments):
    if what == "spare":
        return layers + [(name, [np.array([0.5, float(arguments[0])])])]
    tensors = dict(layers)[name]
    if what == "drop":
        return [layer for layer in layers if layer[0] != name]
    if what == "drop-tensor":
        del tensors[int(arguments[0])]
    elif what == "shape":
        tensors[int(arguments[0])] = np.full([int(d) for d in arguments[1].split(",")], 0.01)
    elif what == "value":
        tensors[int(arguments[0])].flat[-1] = float(arguments[1])
    elif what == "gain":
        tensors.append(np.ones([1, 1, int(arguments[0])]))
    else:
        sys.exit("unknown change: " + what)
    return layers


if __name__ == "__main__":
    source, target, what, name = sys.argv[1:5]
    write(target, change(read(source), what, name, sys.argv[5:]))
