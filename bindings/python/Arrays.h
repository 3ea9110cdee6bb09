// What the modules of the package share: results as arrays, paths and messages as Python has them.
#pragma once

#include <pybind11/numpy.h>
#include <pybind11/pybind11.h>

#include <string>
#include <utility>
#include <vector>

namespace katessel::python {

// An array that owns the values of a vector, without a copy.
template <class Item, class Value>
pybind11::array arrayOf(std::vector<Value>&& values) {
    static_assert(sizeof(Item) == sizeof(Value));
    auto* const owned = new std::vector<Value>(std::move(values));
    const pybind11::capsule owner(owned, [](void* p) { delete static_cast<std::vector<Value>*>(p); });
    return pybind11::array(pybind11::dtype::of<Item>(), {static_cast<pybind11::ssize_t>(owned->size())}, owned->data(),
                           owner);
}

template <class Value>
pybind11::array arrayOf(std::vector<Value>&& values) {
    return arrayOf<Value, Value>(std::move(values));
}

// A path, or a message that names one: it may hold bytes that are no UTF-8.
inline pybind11::object pathText(const std::string& bytes) {
    const auto size = static_cast<pybind11::ssize_t>(bytes.size());
    return pybind11::reinterpret_steal<pybind11::object>(PyUnicode_DecodeFSDefaultAndSize(bytes.data(), size));
}

// The exception of C++ becomes one of Python, `name` of the module.
template <class Exception>
void registerException(pybind11::module_& module, const char* name) {
    static PyObject* const type = pybind11::exception<Exception>(module, name, PyExc_RuntimeError).release().ptr();
    pybind11::register_exception_translator([](std::exception_ptr thrown) {
        try {
            if (thrown) std::rethrow_exception(thrown);
        } catch (const Exception& error) {
            PyErr_SetObject(type, pathText(error.what()).ptr());
        }
    });
}

}  // namespace katessel::python
