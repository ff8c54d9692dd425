#include "orvel/c/index.h"

#include <cstring>
#include <new>
#include <string>
#include <vector>

#include "orvel/find/collection_index.h"

namespace {

void copyMessage(char* out, std::size_t size, const std::string& message) {
  if (out == nullptr || size == 0) return;
  const std::size_t length = std::min(message.size(), size - 1);
  std::memcpy(out, message.data(), length);
  out[length] = '\0';
}

}  // namespace

extern "C" {

bool orvel_index_update(const char* index, const char* const* paths, size_t path_count, bool hidden,
                        bool ignore_files, bool compact, orvel_index_report* report, char* error,
                        size_t error_size) {
  try {
    orvel::WalkInputs inputs;
    for (std::size_t i = 0; i < path_count; ++i) inputs.paths.emplace_back(paths[i]);
    inputs.hidden = hidden;
    inputs.ignoreFiles = ignore_files;
    const orvel::IndexUpdate done = orvel::updateCollectionIndex(index, inputs, compact);
    if (report != nullptr) {
      *report = orvel_index_report{done.indexed,   done.unchanged, done.removed, done.failed,
                                   done.bytesRead, done.segments,  done.merged};
    }
    return true;
  } catch (const orvel::IndexError& failure) {
    copyMessage(error, error_size, failure.what());
  } catch (const std::bad_alloc&) {
    copyMessage(error, error_size, "out of memory");
  }
  return false;
}

size_t orvel_index_verify(const char* index, char* problem, size_t problem_size) {
  try {
    const std::vector<std::string> problems = orvel::verifyCollectionIndex(index);
    if (!problems.empty()) copyMessage(problem, problem_size, problems.front());
    return problems.size();
  } catch (const std::bad_alloc&) {
    copyMessage(problem, problem_size, "out of memory");
    return 1;
  }
}

}  // extern "C"
