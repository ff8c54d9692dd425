// A file's extension read from its path without building paths or strings: the formats
// tell documents apart by it for every file a search meets.
#pragma once

#include <filesystem>
#include <string>
#include <string_view>

namespace orvel {

// The extension of the path's file name without its dot, as std::filesystem::path's
// extension() tells it (none for "name", ".profile", "." and ".."), viewed in the path's own
// string.
[[nodiscard]] std::string_view fileExtension(const std::filesystem::path& path);

// The same widened to UTF-16 unit by unit, for the extension tests that compare with ASCII
// names (a byte outside ASCII equals none of them).
[[nodiscard]] std::u16string fileExtensionUnits(const std::filesystem::path& path);

}  // namespace orvel
