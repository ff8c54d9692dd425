// keyed: dump and edit KeyedData record files. zlib: deflate, gzip and inflate.
#include <bit>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <filesystem>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "orvel/base/big_endian.h"
#include "orvel/base/calendar.h"
#include "orvel/base/utf8.h"
#include "orvel/records/compression.h"
#include "orvel/records/keyed_data.h"
#include "orvel/text/json_escapes.h"

#include "tools/orvel/command_support.h"
#include "tools/orvel/commands.h"

namespace orvel::cli {
namespace {

namespace fs = std::filesystem;

// A four-character code when all four are printable ASCII, else 0x%08x.
std::string codeText(std::uint32_t code) {
  std::string text;
  for (int shift = 24; shift >= 0; shift -= 8) {
    const char c = static_cast<char>(code >> shift);
    if (c < 0x20 || c > 0x7E) return formatText("0x%08x", code);
    text += c;
  }
  return text;
}

std::uint32_t parseKey(const std::string& key) {
  if (key.size() == 4) return fourCharCode({key[0], key[1], key[2], key[3], 0});
  std::size_t used = 0;
  unsigned long value = 0;
  try {
    value = std::stoul(key, &used, 0);
  } catch (const std::exception&) {
    used = 0;
  }
  if (used != key.size() || value > 0xFFFFFFFFul) {
    throw CommandError(key, "not a key: four characters or a number such as 0x53545249");
  }
  return static_cast<std::uint32_t>(value);
}

// The date in ISO 8601, or its seconds as stored when no calendar shows it.
std::string isoDate(double seconds) {
  std::tm calendar{};
  if (!calendarDateOfTimeInterval(seconds, &calendar)) {
    return formatText("%.17g", seconds) + " (seconds, no calendar date)";
  }
  char text[64];
  std::strftime(text, sizeof text, "%Y-%m-%dT%H:%M:%SZ", &calendar);
  return text;
}

double parseIsoDate(const std::string& text) {
  std::tm calendar{};
  const char* end = strptime(text.c_str(), "%Y-%m-%dT%H:%M:%S", &calendar);
  if (end == nullptr || (std::string(end) != "Z" && std::string(end) != "")) {
    throw CommandError(text, "not a date: expected YYYY-MM-DDTHH:MM:SSZ");
  }
  return static_cast<double>(timegm(&calendar)) - kReferenceDateUnixSeconds;
}

std::string recordValue(const KeyedRecordView& record) {
  const std::uint8_t* v = record.value.data();
  switch (record.tag) {
    case kKeyedBoolTag: return std::to_string(static_cast<std::int8_t>(v[0]));
    case kKeyedUnsignedTag: return std::to_string(loadBigEndian32(v));
    case kKeyedSignedTag: return std::to_string(static_cast<std::int32_t>(loadBigEndian32(v)));
    case kKeyedUnsignedLongLongTag: return std::to_string(loadBigEndian64(v));
    case kKeyedSignedLongLongTag:
      return std::to_string(static_cast<std::int64_t>(loadBigEndian64(v)));
    case kKeyedFloatTag: return formatText("%.9g", std::bit_cast<float>(loadBigEndian32(v)));
    case kKeyedDoubleTag: return formatText("%.17g", std::bit_cast<double>(loadBigEndian64(v)));
    case kKeyedDateTag: return isoDate(std::bit_cast<double>(loadBigEndian64(v)));
    case kKeyedStringTag: {
      const std::string_view utf8(reinterpret_cast<const char*>(record.payload.data()),
                                  record.payload.size());
      const auto text = utf8ToUtf16(utf8);
      if (!text) return "<" + std::to_string(record.payload.size()) + " bytes of invalid UTF-8>";
      return "\"" + utf16ToUtf8(stringByConvertingCharactersToJSON(*text)) + "\"";
    }
    default: return "<" + std::to_string(record.payload.size()) + " bytes>";
  }
}

KeyedBuffer readRecordFile(const std::string& path, bool missingIsEmpty) {
  if (missingIsEmpty && !fs::exists(path)) return {};
  const auto data = dataWithKeyedFile(path);
  if (!data) throw CommandError(path, std::strerror(errno));
  return *data;
}

// Writes beside the file, then renames over it, so a failure leaves the old file whole.
void writeRecordFile(const std::string& path, const KeyedBuffer& data) {
  const std::string temporary = path + ".orvel-new";
  std::FILE* file = std::fopen(temporary.c_str(), "wb");
  bool ok = file != nullptr;
  if (ok) ok = std::fwrite(data.data(), 1, data.size(), file) == data.size();
  if (file != nullptr) ok = std::fclose(file) == 0 && ok;
  if (!ok || std::rename(temporary.c_str(), path.c_str()) != 0) {
    std::remove(temporary.c_str());
    throw CommandError(path, std::strerror(errno));
  }
}

const std::map<std::string, std::uint32_t> kKeyedTypes = {
    {"bool", kKeyedBoolTag},          {"unsigned", kKeyedUnsignedTag},
    {"signed", kKeyedSignedTag},      {"u64", kKeyedUnsignedLongLongTag},
    {"s64", kKeyedSignedLongLongTag}, {"float", kKeyedFloatTag},
    {"double", kKeyedDoubleTag},      {"date", kKeyedDateTag},
    {"string", kKeyedStringTag},      {"data", kKeyedDataTag}};

std::vector<std::string> typeNames() {
  std::vector<std::string> names;
  for (const auto& [name, tag] : kKeyedTypes) names.push_back(name);
  return names;
}

KeyedBuffer parseHex(const std::string& hex) {
  KeyedBuffer bytes;
  if (hex.size() % 2 != 0) throw CommandError(hex, "not hexadecimal bytes");
  for (std::size_t i = 0; i < hex.size(); i += 2) {
    bytes.push_back(parseNumber<std::uint8_t>("0x" + hex.substr(i, 2)));
  }
  return bytes;
}

void addValue(KeyedBuffer& data, const std::string& type, const std::string& value, KeyedKey key) {
  bool added = true;
  if (type == "bool") added = addBool(data, parseNumber<std::int8_t>(value), key);
  if (type == "unsigned") added = addUnsigned(data, parseNumber<std::uint32_t>(value), key);
  if (type == "signed") added = addSigned(data, parseNumber<std::int32_t>(value), key);
  if (type == "u64") added = addUnsignedLongLong(data, parseNumber<std::uint64_t>(value), key);
  if (type == "s64") added = addSignedLongLong(data, parseNumber<std::int64_t>(value), key);
  if (type == "float") added = addFloat(data, parseNumber<float>(value), key);
  if (type == "double") added = addDouble(data, parseNumber<double>(value), key);
  if (type == "date") added = addTimeIntervalSinceReferenceDate(data, parseIsoDate(value), key);
  if (type == "string") added = addString(data, decodeText(value, "value"), key);
  if (type == "data") added = addData(data, parseHex(value), key);
  if (!added) throw CommandError(value, "nothing to add (empty value)");
}

void registerKeyed(CLI::App& app, int& status) {
  CLI::App* keyed = app.add_subcommand("keyed", "Dump and edit KeyedData record files");
  keyed->require_subcommand(1);

  auto dumpFile = std::make_shared<std::string>();
  CLI::App* dump = keyed->add_subcommand("dump", "One line per record: TAG KEY VALUE");
  dump->add_option("FILE", *dumpFile, "The record file")->required()->check(nonEmptyFileName());
  dump->callback([dumpFile, &status] {
    const KeyedBuffer data = readRecordFile(*dumpFile, false);
    std::string out;
    const std::size_t end = walkKeyedRecords(data, [&](const KeyedRecordView& record) {
      out += codeText(record.tag) + "\t" + codeText(record.key) + "\t" + recordValue(record) + "\n";
    });
    const bool valid = isValid(data);
    out += valid ? "valid\n" : "invalid at " + std::to_string(end) + "\n";
    writeOut(out);
    if (!valid) {
      reportError(*dumpFile, data.empty() ? "empty: no records"
                                          : "invalid record at byte offset " + std::to_string(end));
      status = 1;
    }
  });

  struct EditOptions {
    std::string file, type, key, value;
    bool all = false;
  };
  auto add = std::make_shared<EditOptions>();
  CLI::App* addCommand = keyed->add_subcommand("add", "Append a record (data as hex)");
  addCommand->add_option("FILE", add->file, "The record file (created when missing)")
      ->required()
      ->check(nonEmptyFileName());
  addCommand->add_option("TYPE", add->type, "The type")
      ->required()
      ->check(CLI::IsMember(typeNames()));
  addCommand->add_option("KEY", add->key, "Four characters, or a number")->required();
  addCommand->add_option("VALUE", add->value, "The value")->required();
  addCommand->callback([add] {
    KeyedBuffer data = readRecordFile(add->file, true);
    addValue(data, add->type, add->value, parseKey(add->key));
    writeRecordFile(add->file, data);
  });

  auto remove = std::make_shared<EditOptions>();
  CLI::App* removeCommand = keyed->add_subcommand(
      "remove", "Remove the first record of a type and key (--all: every one)");
  removeCommand->add_option("FILE", remove->file, "The record file")
      ->required()
      ->check(nonEmptyFileName());
  removeCommand->add_option("TYPE", remove->type, "The type")
      ->required()
      ->check(CLI::IsMember(typeNames()));
  removeCommand->add_option("KEY", remove->key, "Four characters, or a number")->required();
  removeCommand->add_flag("--all", remove->all, "Remove every record of the type and key");
  removeCommand->callback([remove] {
    KeyedBuffer data = readRecordFile(remove->file, false);
    struct Match {
      std::uint32_t tag;
      KeyedKey key;
      bool all;
      bool removed;
    } match{kKeyedTypes.at(remove->type), parseKey(remove->key), remove->all, false};
    removeKeyedDataUsingHandler(
        data,
        [](std::uint32_t tag, KeyedKey key, void* context) {
          auto* m = static_cast<Match*>(context);
          const bool hit = tag == m->tag && key == m->key && (m->all || !m->removed);
          m->removed = m->removed || hit;
          return hit;
        },
        &match);
    writeRecordFile(remove->file, data);
  });
}

void registerZlib(CLI::App& app) {
  struct Options {
    std::string mode;
    std::string file = "-";
    int level = kDefaultCompressionLevel;
    std::size_t maxOutput = std::size_t{1} << 30;
  };
  auto options = std::make_shared<Options>();
  CLI::App* command =
      app.add_subcommand("zlib", "Compress (deflate: zlib format, gzip) or inflate");
  command->add_option("MODE", options->mode, "deflate|gzip|inflate")
      ->required()
      ->check(CLI::IsMember({"deflate", "gzip", "inflate"}));
  command->add_option("--level", options->level, "Compression level 1-9 (-1: zlib's default)");
  command->add_option("--max-output", options->maxOutput,
                      "Inflate: fail beyond N bytes of output (default: 1 GiB)");
  addFileOption(command, options->file);
  command->callback([options] {
    const std::string input = readAll(options->file);
    const std::span<const std::uint8_t> bytes(reinterpret_cast<const std::uint8_t*>(input.data()),
                                              input.size());
    std::optional<std::vector<std::uint8_t>> output;
    if (options->mode == "inflate") {
      output.emplace();
      if (!setDataByInflating(*output, bytes, options->maxOutput)) {
        throw CommandError(displayName(options->file),
                           output->size() == options->maxOutput
                               ? "expands beyond " + std::to_string(options->maxOutput) +
                                     " bytes (--max-output N allows more)"
                               : "not a complete zlib or gzip stream");
      }
    } else {
      output = options->mode == "gzip" ? dataByGzippingData(bytes, options->level)
                                       : dataByDeflatingData(bytes, options->level);
      if (!output) throw CommandError(displayName(options->file), "nothing to compress");
    }
    writeOut(std::string_view(reinterpret_cast<const char*>(output->data()), output->size()));
  });
}

}  // namespace

void registerRecordCommands(CLI::App& app, int& status) {
  registerKeyed(app, status);
  registerZlib(app);
}

}  // namespace orvel::cli
