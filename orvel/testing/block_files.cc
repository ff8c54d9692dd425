#include "orvel/testing/block_files.h"

#include <fstream>
#include <iterator>

namespace orvel::testing {

Block fileBytes(const std::filesystem::path& path) {
  std::ifstream in(path, std::ios::binary);
  return Block(std::istreambuf_iterator<char>(in), {});
}

void writeFileBytes(const std::filesystem::path& path, const Block& data) {
  std::ofstream out(path, std::ios::binary | std::ios::trunc);
  out.write(reinterpret_cast<const char*>(data.data()), static_cast<std::streamsize>(data.size()));
}

std::vector<std::string> readPayloads(const std::filesystem::path& path, bool* damaged) {
  KeyedStorage storage = KeyedStorage::forReading(path);
  std::vector<std::string> blocks;
  while (const auto block = storage.nextAvailableBlock(nullptr, damaged)) {
    blocks.emplace_back(block->begin(), block->end());
  }
  return blocks;
}

}  // namespace orvel::testing
