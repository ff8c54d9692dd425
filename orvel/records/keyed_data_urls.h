// URLs in KeyedData: stored as string records holding the URL's absolute string; there is
// no URL type. The single reader URLForKey takes a string starting with "/" for a file path
// and makes a file URL of it; the plural readers always read the string as a URL as it
// stands. That difference is intended and kept.
#pragma once

#include <cstddef>
#include <optional>
#include <vector>

#include "orvel/records/keyed_data.h"
#include "orvel/url/url.h"

namespace orvel {

[[nodiscard]] bool containsURLForKey(KeyedBytes data, KeyedKey key);
// Whether any string record of the key holds exactly the URL's absolute string.
[[nodiscard]] bool containsURL(KeyedBytes data, const URL& url, KeyedKey key);
[[nodiscard]] std::size_t offsetOfURLForKey(KeyedBytes data, KeyedKey key);
[[nodiscard]] std::optional<URL> URLForKey(KeyedBytes data, KeyedKey key);
[[nodiscard]] std::size_t numberOfURLsForKey(KeyedBytes data, KeyedKey key);
// Every string record of the key that reads as a URL, in buffer order; nullopt for none.
[[nodiscard]] std::optional<std::vector<URL>> URLsForKey(KeyedBytes data, KeyedKey key);
std::size_t addURLsForKey(KeyedBytes data, KeyedKey key, std::vector<URL>& target);
using KeyedURLHandler = bool (*)(const URL& url, void* context);
std::size_t handleURLsForKey(KeyedBytes data, KeyedKey key, KeyedURLHandler handler, void* context);
bool removeURLForKey(KeyedBuffer& data, KeyedKey key);
bool removeURLsForKey(KeyedBuffer& data, KeyedKey key);
bool addURL(KeyedBuffer& data, const URL& url, KeyedKey key);
// Each URL in order; false only for an empty list.
bool addURLs(KeyedBuffer& data, const std::vector<URL>& urls, KeyedKey key);
bool setURL(KeyedBuffer& data, const URL& url, KeyedKey key);

}  // namespace orvel
