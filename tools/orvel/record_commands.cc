// keyed: dump and edit KeyedData record files. storage: inspect and edit KeyedStorage
// block files. zlib: deflate, gzip and inflate.
#include <bit>
#include <cerrno>
#include <cinttypes>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <filesystem>
#include <limits>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "orvel/base/big_endian.h"
#include "orvel/base/calendar.h"
#include "orvel/base/utf8.h"
#include "orvel/records/compression.h"
#include "orvel/records/keyed_data.h"
#include "orvel/records/keyed_storage.h"
#include "orvel/records/keyed_storage_format.h"
#include "orvel/text/crc32.h"
#include "orvel/text/json_escapes.h"

#include "tools/orvel/command_support.h"
#include "tools/orvel/commands.h"

namespace orvel::cli {
namespace {

namespace fs = std::filesystem;

std::string format(const char* pattern, auto... values) {
  char text[128];
  std::snprintf(text, sizeof text, pattern, values...);
  return text;
}

// A four-character code when all four are printable ASCII, else 0x%08x.
std::string codeText(std::uint32_t code) {
  std::string text;
  for (int shift = 24; shift >= 0; shift -= 8) {
    const char c = static_cast<char>(code >> shift);
    if (c < 0x20 || c > 0x7E) return format("0x%08x", code);
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
    return format("%.17g", seconds) + " (seconds, no calendar date)";
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
    case kKeyedFloatTag: return format("%.9g", std::bit_cast<float>(loadBigEndian32(v)));
    case kKeyedDoubleTag: return format("%.17g", std::bit_cast<double>(loadBigEndian64(v)));
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

template <typename T>
T parseNumber(const std::string& text) {
  try {
    std::size_t used = 0;
    T value{};
    if constexpr (std::is_floating_point_v<T>) {
      value = static_cast<T>(std::stod(text, &used));
    } else if constexpr (std::is_signed_v<T>) {
      const long long parsed = std::stoll(text, &used, 0);
      if (parsed < std::numeric_limits<T>::min() || parsed > std::numeric_limits<T>::max())
        used = 0;
      value = static_cast<T>(parsed);
    } else {
      const unsigned long long parsed = std::stoull(text, &used, 0);
      if (parsed > std::numeric_limits<T>::max() || text.find('-') != std::string::npos) used = 0;
      value = static_cast<T>(parsed);
    }
    if (used == text.size()) return value;
  } catch (const std::exception&) {
  }
  throw CommandError(text, "not a value of this type");
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
  dump->add_option("FILE", *dumpFile, "The record file")->required();
  dump->callback([dumpFile, &status] {
    const KeyedBuffer data = readRecordFile(*dumpFile, false);
    std::string out;
    const std::size_t end = walkKeyedRecords(data, [&](const KeyedRecordView& record) {
      out += codeText(record.tag) + "\t" + codeText(record.key) + "\t" + recordValue(record) + "\n";
    });
    const bool valid = isValid(data);
    out += valid ? "valid\n" : "invalid at " + std::to_string(end) + "\n";
    writeOut(out);
    status = valid ? 0 : 1;
  });

  struct EditOptions {
    std::string file, type, key, value;
    bool all = false;
  };
  auto add = std::make_shared<EditOptions>();
  CLI::App* addCommand = keyed->add_subcommand("add", "Append a record (data as hex)");
  addCommand->add_option("FILE", add->file, "The record file (created when missing)")->required();
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
  removeCommand->add_option("FILE", remove->file, "The record file")->required();
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

// One block as it stands in the file, for ls and verify.
struct RawBlock {
  std::uint64_t offset;
  std::uint32_t marker;
  std::uint64_t length;
  std::uint64_t slack;
  std::string state;  // ok, deleted, bad-checksum, truncated, bad-header
};

std::vector<RawBlock> rawBlocks(const std::string& path) {
  const KeyedBuffer file = readRecordFile(path, false);
  std::vector<RawBlock> blocks;
  std::uint64_t offset = 0;
  while (offset < file.size()) {
    const std::uint8_t* p = file.data() + offset;
    if (file.size() - offset < kBlockHeaderSize || !isKnownBlockMarker(loadBigEndian32(p))) {
      blocks.push_back(
          {offset, file.size() - offset >= 4 ? loadBigEndian32(p) : 0, 0, 0, "bad-header"});
      break;
    }
    RawBlock block{offset, loadBigEndian32(p), loadBigEndian32(p + 4), loadBigEndian32(p + 8),
                   "ok"};
    const std::uint64_t end = offset + kBlockHeaderSize + block.length;
    if (block.length == 0) {
      block.state = "deleted";
    } else if (end > file.size()) {
      block.state = "truncated";
    } else if (CRC32(p + kBlockHeaderSize, block.length) != loadBigEndian32(p + 12)) {
      block.state = "bad-checksum";
    }
    blocks.push_back(block);
    if (block.state == "truncated") break;
    offset = end + block.slack;
  }
  return blocks;
}

std::uint64_t parseOffset(const std::string& text) { return parseNumber<std::uint64_t>(text); }

KeyedStorage openStorage(const std::string& path, bool updating) {
  KeyedStorage storage =
      updating ? KeyedStorage::forUpdating(path) : KeyedStorage::forReading(path);
  if (!storage.isValid()) {
    throw CommandError(path, fs::exists(path)
                                 ? "cannot open: in use by another process or unreadable"
                                 : "No such file or directory");
  }
  return storage;
}

// Block sizes are multiples of 512: the storage pads each block to one.
void addBlockSizeOption(CLI::App* command, std::uint64_t& blockSize) {
  command
      ->add_option("--block-size", blockSize, "Pad blocks to a multiple of N (N: 512, 1024, ...)")
      ->check(
          [](const std::string& text) {
            const std::uint64_t n = std::strtoull(text.c_str(), nullptr, 10);
            return n % 512 == 0 ? std::string() : "not a multiple of 512: " + text;
          },
          "N");
}

void registerStorage(CLI::App& app, int& status) {
  CLI::App* storage = app.add_subcommand("storage", "Inspect and edit KeyedStorage block files");
  storage->require_subcommand(1);

  auto lsFile = std::make_shared<std::string>();
  CLI::App* ls =
      storage->add_subcommand("ls", "One line per block: OFFSET MARKER LENGTH SLACK STATE");
  ls->add_option("FILE", *lsFile, "The block file")->required();
  ls->callback([lsFile] {
    std::string out;
    for (const RawBlock& block : rawBlocks(*lsFile)) {
      out += std::to_string(block.offset) + "\t" + format("0x%08x", block.marker) + "\t" +
             std::to_string(block.length) + "\t" + std::to_string(block.slack) + "\t" +
             block.state + "\n";
    }
    writeOut(out);
  });

  auto verifyFile = std::make_shared<std::string>();
  CLI::App* verify = storage->add_subcommand("verify", "Count good, deleted and damaged blocks");
  verify->add_option("FILE", *verifyFile, "The block file")->required();
  verify->callback([verifyFile, &status] {
    std::size_t good = 0, deleted = 0, damaged = 0;
    for (const RawBlock& block : rawBlocks(*verifyFile)) {
      if (block.state == "ok") {
        ++good;
      } else if (block.state == "deleted") {
        ++deleted;
      } else {
        ++damaged;
      }
    }
    writeOut("good " + std::to_string(good) + "\ndeleted " + std::to_string(deleted) +
             "\ndamaged " + std::to_string(damaged) + "\n");
    status = damaged == 0 ? 0 : 1;
  });

  struct BlockOptions {
    std::string file, offset, payload;
    bool compress = false;
    std::uint64_t blockSize = 0;
  };
  auto cat = std::make_shared<BlockOptions>();
  CLI::App* catCommand = storage->add_subcommand("cat", "Print a block's payload, decompressed");
  catCommand->add_option("FILE", cat->file, "The block file")->required();
  catCommand->add_option("OFFSET", cat->offset, "The block's offset")->required();
  catCommand->callback([cat] {
    KeyedStorage file = openStorage(cat->file, false);
    const std::uint64_t offset = parseOffset(cat->offset);
    file.seekToFileOffset(offset);
    const CollectedLog damage;
    const auto block = file.nextAvailableBlock();
    if (!block || file.offsetOfLastBlock() != offset) {
      throw CommandError(cat->file, "no readable block at offset " + cat->offset + damage.suffix());
    }
    writeOut(std::string_view(reinterpret_cast<const char*>(block->data()), block->size()));
  });

  auto append = std::make_shared<BlockOptions>();
  CLI::App* appendCommand =
      storage->add_subcommand("append", "Append a block (the PAYLOAD, or stdin); print its offset");
  appendCommand->add_option("FILE", append->file, "The block file (created when missing)")
      ->required();
  appendCommand->add_option("PAYLOAD", append->payload, "The payload; stdin when absent");
  appendCommand->add_flag("--compress", append->compress, "Compress when that saves space");
  addBlockSizeOption(appendCommand, append->blockSize);
  appendCommand->callback([append] {
    const std::string payload = append->payload.empty() ? readAll("-") : append->payload;
    KeyedStorage file = KeyedStorage::forAppending(append->file);
    if (!file.isValid()) throw CommandError(append->file, "cannot open: in use by another process");
    file.setCompressed(append->compress);
    file.setBlockSize(append->blockSize);
    const std::uint64_t offset = file.lengthOfFile();
    if (!file.appendBlock(
            BlockBytes(reinterpret_cast<const std::uint8_t*>(payload.data()), payload.size())) ||
        file.closeFile()) {
      throw CommandError(append->file, payload.empty() ? "empty payload" : "write failed");
    }
    writeOut(std::to_string(offset) + "\n");
  });

  auto remove = std::make_shared<BlockOptions>();
  CLI::App* deleteCommand = storage->add_subcommand("delete", "Free the block at OFFSET");
  deleteCommand->add_option("FILE", remove->file, "The block file")->required();
  deleteCommand->add_option("OFFSET", remove->offset, "The block's offset")->required();
  deleteCommand->callback([remove] {
    KeyedStorage file = openStorage(remove->file, true);
    const CollectedLog damage;
    if (!file.deleteBlockAtFileOffset(parseOffset(remove->offset))) {
      throw CommandError(remove->file, "no block at offset " + remove->offset + damage.suffix());
    }
  });

  struct CompactOptions {
    std::string file, destination;
    bool skipErrors = false;
    std::uint64_t blockSize = 0;
  };
  auto compact = std::make_shared<CompactOptions>();
  CLI::App* compactCommand =
      storage->add_subcommand("compact", "Drop free space: in place, or into DEST with --to");
  compactCommand->add_option("FILE", compact->file, "The block file")->required();
  compactCommand->add_option("--to", compact->destination, "Copy the live blocks into DEST");
  compactCommand->add_flag("--skip-errors", compact->skipErrors, "Go on past damaged blocks");
  // The file does not record the size its blocks were padded to.
  addBlockSizeOption(compactCommand, compact->blockSize);
  compactCommand->callback([compact] {
    KeyedStorage file = openStorage(compact->file, true);
    file.setBlockSize(compact->blockSize);
    const CollectedLog damage;
    if (!compact->destination.empty()) {
      if (!file.optimizeToPath(compact->destination, compact->skipErrors, nullptr)) {
        throw CommandError(compact->file,
                           "damaged, nothing copied past it (--skip-errors copies what is intact)" +
                               damage.suffix());
      }
      return;
    }
    // A first pass finds damage before anything moves.
    bool damaged = false;
    while (file.nextAvailableBlock(nullptr, &damaged)) {
    }
    if (damaged && !compact->skipErrors) {
      throw CommandError(
          compact->file,
          "damaged, left as it was (--skip-errors keeps what is intact)" + damage.suffix());
    }
    file.seekToFileOffset(0);
    std::uint64_t free = 0;
    std::optional<Block> stored;
    while (const auto block = file.nextAvailableBlock(&stored)) {
      const std::uint64_t resume = file.offsetInFile();
      std::optional<BlockBytes> storedView;
      if (stored) storedView = BlockBytes(*stored);
      file.setCompressed(stored.has_value());
      file.optimizeLastBlock(*block, storedView, free, &free);
      file.seekToFileOffset(resume);
    }
    if (!file.truncateFileAtOffset(free)) throw CommandError(compact->file, "truncation failed");
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
  registerStorage(app, status);
  registerZlib(app);
}

}  // namespace orvel::cli
