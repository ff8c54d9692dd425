// Block files in tests: their raw bytes, written back after damage, and the payloads the
// plain KeyedStorage reader returns.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "orvel/records/keyed_storage.h"

namespace orvel::testing {

[[nodiscard]] Block fileBytes(const std::filesystem::path& path);
void writeFileBytes(const std::filesystem::path& path, const Block& data);
// Every payload the reader returns in order; damaged, when given, is set on damage.
[[nodiscard]] std::vector<std::string> readPayloads(const std::filesystem::path& path,
                                                    bool* damaged = nullptr);

}  // namespace orvel::testing
