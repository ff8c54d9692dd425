// The parts of the Python module defined in files of their own.
#pragma once

#include <filesystem>
#include <vector>

#include <pybind11/pybind11.h>

namespace orvel::python {

// The paths a caller gave: one (str, bytes or os.PathLike), or an iterable of them.
[[nodiscard]] std::vector<std::filesystem::path> pathsOf(const pybind11::handle& paths);

// orvel.search and its result types.
void defineSearch(pybind11::module_& m);
// orvel.Index.
void defineIndex(pybind11::module_& m);

}  // namespace orvel::python
