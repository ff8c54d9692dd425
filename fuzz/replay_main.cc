// Runs a fuzz target without libFuzzer: every file named on the command line, and every
// file in every folder named, is handed to LLVMFuzzerTestOneInput once. This is how the test
// suite replays the seeds and the saved findings of each target.
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);
// Defined by the targets that set up something first (as libFuzzer calls it).
extern "C" __attribute__((weak)) int LLVMFuzzerInitialize(int* argc, char*** argv);

namespace {

void replay(const std::filesystem::path& file) {
  std::ifstream in(file, std::ios::binary);
  const std::vector<char> bytes((std::istreambuf_iterator<char>(in)),
                                std::istreambuf_iterator<char>());
  // An exactly sized heap copy, so that the sanitizer sees any read beyond the input.
  std::vector<std::uint8_t> input(bytes.begin(), bytes.end());
  LLVMFuzzerTestOneInput(input.data(), input.size());
}

}  // namespace

int main(int argc, char** argv) {
  // The inputs are named before a target's set-up may change the working folder.
  std::vector<std::filesystem::path> inputs;
  for (int i = 1; i < argc; ++i) inputs.push_back(std::filesystem::absolute(argv[i]));
  if (LLVMFuzzerInitialize != nullptr) LLVMFuzzerInitialize(&argc, &argv);
  std::size_t count = 0;
  for (const std::filesystem::path& path : inputs) {
    if (std::filesystem::is_directory(path)) {
      for (const auto& entry : std::filesystem::recursive_directory_iterator(path)) {
        if (entry.is_regular_file()) {
          replay(entry.path());
          ++count;
        }
      }
    } else {
      replay(path);
      ++count;
    }
  }
  std::printf("replayed %zu inputs\n", count);
  return count > 0 ? 0 : 1;
}
