#include "orvel/records/keyed_data_urls.h"

namespace orvel {

bool containsURLForKey(KeyedBytes data, KeyedKey key) { return containsStringForKey(data, key); }

bool containsURL(KeyedBytes data, const URL& url, KeyedKey key) {
  return containsString(data, url.absoluteString(), key);
}

std::size_t offsetOfURLForKey(KeyedBytes data, KeyedKey key) {
  return offsetOfStringForKey(data, key);
}

std::optional<URL> URLForKey(KeyedBytes data, KeyedKey key) {
  const auto string = stringForKey(data, key);
  if (!string || string->empty()) return std::nullopt;
  if (string->front() == u'/') {
    return URL::fileURLWithPath(std::filesystem::path(std::string(string->begin(), string->end())));
  }
  return URL::URLWithString(*string);
}

std::size_t numberOfURLsForKey(KeyedBytes data, KeyedKey key) {
  return numberOfStringsForKey(data, key);
}

std::size_t addURLsForKey(KeyedBytes data, KeyedKey key, std::vector<URL>& target) {
  std::vector<std::u16string> strings;
  addStringsForKey(data, key, strings);
  const std::size_t before = target.size();
  for (const std::u16string& string : strings) {
    if (auto url = URL::URLWithString(string)) target.push_back(std::move(*url));
  }
  return target.size() - before;
}

std::optional<std::vector<URL>> URLsForKey(KeyedBytes data, KeyedKey key) {
  std::vector<URL> urls;
  addURLsForKey(data, key, urls);
  if (urls.empty()) return std::nullopt;
  return urls;
}

std::size_t handleURLsForKey(KeyedBytes data, KeyedKey key, KeyedURLHandler handler,
                             void* context) {
  std::vector<URL> urls;
  addURLsForKey(data, key, urls);
  std::size_t yes = 0;
  for (const URL& url : urls) yes += handler(url, context);
  return yes;
}

bool removeURLForKey(KeyedBuffer& data, KeyedKey key) { return removeStringForKey(data, key); }

bool removeURLsForKey(KeyedBuffer& data, KeyedKey key) { return removeStringsForKey(data, key); }

bool addURL(KeyedBuffer& data, const URL& url, KeyedKey key) {
  return addString(data, url.absoluteString(), key);
}

bool addURLs(KeyedBuffer& data, const std::vector<URL>& urls, KeyedKey key) {
  for (const URL& url : urls) addURL(data, url, key);
  return !urls.empty();
}

bool setURL(KeyedBuffer& data, const URL& url, KeyedKey key) {
  return setString(data, url.absoluteString(), key);
}

}  // namespace orvel
