// Reading a whole file into memory.
#pragma once

#include <filesystem>
#include <optional>
#include <string>

namespace orvel {

// The bytes of the file at path; nullopt when it cannot be opened or read (a folder, a
// missing file), with the errno value in *error when given.
[[nodiscard]] std::optional<std::string> bytesOfFile(const std::filesystem::path& path,
                                                     int* error = nullptr);

}  // namespace orvel
