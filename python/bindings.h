// The parts of the Python module defined in files of their own.
#pragma once

#include <pybind11/pybind11.h>

namespace orvel::python {

// orvel.search and its result types.
void defineSearch(pybind11::module_& m);
// orvel.Index.
void defineIndex(pybind11::module_& m);

}  // namespace orvel::python
