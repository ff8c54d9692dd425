// orvel.Index: building, updating and checking the persistent index that orvel.search can
// use (index=).
#include <filesystem>
#include <string>
#include <vector>

#include <pybind11/pybind11.h>
#include <pybind11/stl.h>
#include <pybind11/stl/filesystem.h>

#include "orvel/find/collection_index.h"

#include "python/bindings.h"

namespace orvel::python {
namespace {

namespace py = pybind11;
namespace fs = std::filesystem;
using namespace pybind11::literals;

// An index by the path of its manifest.
struct PyIndex {
  fs::path path;
};

// Runs the work without the GIL, turning an IndexError into Python's OSError.
template <typename Work>
auto withoutGil(const PyIndex& index, Work work) {
  try {
    py::gil_scoped_release release;
    return work();
  } catch (const IndexError& error) {
    throw py::value_error(index.path.string() + ": " + error.what());
  }
}

py::dict update(const PyIndex& index, const py::object& paths, bool hidden, bool ignoreFiles,
                bool compact) {
  WalkInputs inputs;
  inputs.paths = pathsOf(paths);
  inputs.hidden = hidden;
  inputs.ignoreFiles = ignoreFiles;
  const IndexUpdate done =
      withoutGil(index, [&] { return updateCollectionIndex(index.path, inputs, compact); });
  return py::dict("indexed"_a = done.indexed, "unchanged"_a = done.unchanged,
                  "removed"_a = done.removed, "failed"_a = done.failed,
                  "bytes_read"_a = done.bytesRead, "segments"_a = done.segments,
                  "merged"_a = done.merged);
}

py::dict status(const PyIndex& index) {
  const IndexStatus status = withoutGil(index, [&] { return collectionIndexStatus(index.path); });
  return py::dict("roots"_a = status.roots, "documents"_a = status.documents,
                  "text_documents"_a = status.textDocuments, "segments"_a = status.segments,
                  "bytes"_a = status.bytes, "generation"_a = status.generation);
}

}  // namespace

void defineIndex(py::module_& m) {
  py::class_<PyIndex>(m, "Index",
                      R"(The persistent index at a path (its manifest; segment files lie beside
it). update() builds or refreshes it for some trees; orvel.search(..., index=PATH) then reads
only the files that may match, and every file changed since, with the same answers.)")
      .def(py::init([](const fs::path& path) { return PyIndex{path}; }), "path"_a)
      .def_property_readonly("path", [](const PyIndex& index) { return index.path.string(); })
      .def("update", &update, "paths"_a, py::kw_only(), "hidden"_a = false, "ignore_files"_a = true,
           "compact"_a = false,
           "Builds or updates the index for the trees; compact merges its segments into one. "
           "Answers what it did. Raises ValueError when the index cannot be written.")
      .def("status", &status, "What the index holds; ValueError when there is none.")
      .def(
          "verify",
          [](const PyIndex& index) {
            return withoutGil(index, [&] { return verifyCollectionIndex(index.path); });
          },
          "Reads the whole index: the problems found, empty when it is sound.");
}

}  // namespace orvel::python
