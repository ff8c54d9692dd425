// How the module's arguments are converted from Python, strictly, raising the error Python's
// own functions raise for a value of the right type that cannot be taken, instead of
// pybind11's TypeError "incompatible function arguments" (which says only that no overload
// fits):
//
//   str     to UTF-16: a lone surrogate (a file name decoded with surrogateescape, say)
//           raises UnicodeEncodeError; results come back with surrogatepass, so that what
//           went in comes out.
//   path    str, bytes or os.PathLike, encoded as the file system encodes it (surrogateescape
//           gives back the original bytes); a NUL raises ValueError.
//   size_t  an int; a negative one raises OverflowError, as for Python's own sizes.
//
// Explicit specializations, so that they replace pybind11's own for these types; this header
// is included instead of <pybind11/stl/filesystem.h>, before any binding.
#pragma once

#include <cstddef>
#include <cstring>
#include <filesystem>
#include <string>
#include <string_view>

#include <pybind11/pybind11.h>

namespace pybind11::detail {

// The units of a str, or an exception raised (UnicodeEncodeError); false for no str.
inline bool loadUtf16(handle source, std::u16string& units) {
  if (!source || !PyUnicode_Check(source.ptr())) return false;
  const object encoded =
      reinterpret_steal<object>(PyUnicode_AsEncodedString(source.ptr(), "utf-16-le", "strict"));
  if (!encoded) throw error_already_set();
  const Py_ssize_t size = PyBytes_Size(encoded.ptr());
  units.resize(static_cast<std::size_t>(size) / 2);
  std::memcpy(units.data(), PyBytes_AsString(encoded.ptr()), units.size() * 2);
  return true;
}

inline handle castUtf16(std::u16string_view units) {
  int littleEndian = -1;
  PyObject* text = PyUnicode_DecodeUTF16(reinterpret_cast<const char*>(units.data()),
                                         static_cast<Py_ssize_t>(units.size() * 2), "surrogatepass",
                                         &littleEndian);
  if (text == nullptr) throw error_already_set();
  return text;
}

template <>
struct type_caster<std::u16string> {
  PYBIND11_TYPE_CASTER(std::u16string, const_name("str"));
  bool load(handle source, bool) { return loadUtf16(source, value); }
  static handle cast(const std::u16string& text, return_value_policy, handle) {
    return castUtf16(text);
  }
};

template <>
struct type_caster<std::u16string_view> {
  PYBIND11_TYPE_CASTER(std::u16string_view, const_name("str"));
  bool load(handle source, bool) {
    if (!loadUtf16(source, _units)) return false;
    value = _units;
    return true;
  }
  static handle cast(std::u16string_view text, return_value_policy, handle) {
    return castUtf16(text);
  }

 private:
  std::u16string _units;  // what value views
};

template <>
struct type_caster<std::filesystem::path> {
  PYBIND11_TYPE_CASTER(std::filesystem::path, const_name("os.PathLike"));
  bool load(handle source, bool) {
    PyObject* bytes = nullptr;
    if (PyUnicode_FSConverter(source.ptr(), &bytes) == 0) {
      // Not a path at all: another overload may take it. A path that cannot be one raises.
      if (!PyErr_ExceptionMatches(PyExc_TypeError)) throw error_already_set();
      PyErr_Clear();
      return false;
    }
    const object owned = reinterpret_steal<object>(bytes);
    value = std::filesystem::path(
        std::string(PyBytes_AsString(bytes), static_cast<std::size_t>(PyBytes_Size(bytes))));
    return true;
  }
  static handle cast(const std::filesystem::path& path, return_value_policy, handle) {
    const std::string& native = path.native();
    PyObject* text =
        PyUnicode_DecodeFSDefaultAndSize(native.data(), static_cast<Py_ssize_t>(native.size()));
    if (text == nullptr) throw error_already_set();
    return text;
  }
};

template <>
struct type_caster<unsigned long> {
  PYBIND11_TYPE_CASTER(unsigned long, const_name("int"));
  bool load(handle source, bool) {
    if (!source || !PyLong_Check(source.ptr())) return false;
    value = PyLong_AsUnsignedLong(source.ptr());  // OverflowError below 0 or above the range
    if (value == static_cast<unsigned long>(-1) && PyErr_Occurred()) throw error_already_set();
    return true;
  }
  static handle cast(unsigned long number, return_value_policy, handle) {
    return PyLong_FromUnsignedLong(number);
  }
};

}  // namespace pybind11::detail
