// storage: inspect, edit, verify, compact and salvage KeyedStorage block files.
//
// Our own tools never turn damage into silent loss: verify names every anomaly the salvage
// walk sees, compact refuses to keep fewer blocks than the walk finds, append refuses to
// write where the reader could not reach the new block, and salvage recovers every intact
// block.
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>
#include <vector>

#include <unistd.h>

#include "orvel/base/big_endian.h"
#include "orvel/records/keyed_storage.h"
#include "orvel/records/keyed_storage_format.h"
#include "orvel/text/crc32.h"

#include "tools/orvel/command_support.h"
#include "tools/orvel/commands.h"

namespace orvel::cli {
namespace {

namespace fs = std::filesystem;

// Block sizes pad every block; the slack must fit the header's 32 bits, and a gigabyte is
// more than any use of padding asks for.
constexpr std::uint64_t kLargestBlockSize = std::uint64_t{1} << 30;

// One block as the header chain reaches it, for ls.
struct RawBlock {
  std::uint64_t offset;
  std::uint32_t marker;
  std::uint64_t length;
  std::uint64_t slack;
  std::string state;  // ok, deleted, bad-checksum, truncated, bad-header
};

std::vector<RawBlock> rawBlocks(const std::string& path) {
  const std::string file = readAll(path);
  const auto* bytes = reinterpret_cast<const std::uint8_t*>(file.data());
  std::vector<RawBlock> blocks;
  std::uint64_t offset = 0;
  while (offset < file.size()) {
    const std::uint8_t* p = bytes + offset;
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

// Why a path cannot be used as an existing block file, or "".
std::string whyNotAFile(const std::string& path) {
  std::error_code error;
  const fs::file_status status = fs::status(path, error);
  if (!fs::exists(status)) return "No such file or directory";
  if (fs::is_directory(status)) return "Is a directory";
  if (!fs::is_regular_file(status)) return "not a regular file (a FIFO, device or socket)";
  return {};
}

// Why a storage could not be opened: the system's word when access is denied (to the file,
// or to the folder it would be created in), else the lock another process holds.
std::string whyNotOpened(const std::string& path, int mode) {
  const fs::path target = fs::exists(path) ? fs::path(path) : fs::absolute(path).parent_path();
  return ::access(target.c_str(), mode) != 0 ? std::strerror(errno)
                                             : "cannot open: in use by another process";
}

// An existing block file, opened for reading or updating; never created.
KeyedStorage openExisting(const std::string& path, bool updating) {
  if (const std::string why = whyNotAFile(path); !why.empty()) throw CommandError(path, why);
  KeyedStorage storage =
      updating ? KeyedStorage::forUpdating(path) : KeyedStorage::forReading(path);
  if (!storage.isValid()) throw CommandError(path, whyNotOpened(path, updating ? W_OK : R_OK));
  return storage;
}

// A destination that a copy may be written to: not the source, not a folder, in a folder
// that exists.
void checkDestination(const std::string& source, const std::string& destination) {
  std::error_code error;
  if (fs::equivalent(source, destination, error) ||
      fs::absolute(source) == fs::absolute(destination)) {
    throw CommandError(destination, "is the file being read; name another file");
  }
  if (fs::is_directory(destination, error)) throw CommandError(destination, "Is a directory");
  const fs::path folder = fs::absolute(destination).parent_path();
  if (!fs::is_directory(folder, error)) {
    throw CommandError(destination, "No such file or directory (the folder " + folder.string() +
                                        " does not exist)");
  }
}

StorageSalvage salvageOf(KeyedStorage& storage, const std::string& path) {
  auto walk = storage.salvageWalk();
  if (!walk) throw CommandError(path, "cannot be read");
  return std::move(*walk);
}

// Whether the file starts with a known block header.
bool startsWithBlockHeader(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  std::uint8_t header[kBlockHeaderSize];
  return in.read(reinterpret_cast<char*>(header), kBlockHeaderSize) &&
         isKnownBlockMarker(loadBigEndian32(header));
}

// Block sizes: multiples of 512 up to a gigabyte, 0 for none.
void addBlockSizeOption(CLI::App* command, std::uint64_t& blockSize) {
  command
      ->add_option("--block-size", blockSize,
                   "Pad blocks to a multiple of N (N: 512, 1024, ... up to 1073741824)")
      ->check(
          [](const std::string& text) -> std::string {
            try {
              const auto n = parseNumber<std::uint64_t>(text);
              if (n % 512 == 0 && n <= kLargestBlockSize) return {};
            } catch (const CommandError&) {
            }
            return "not a multiple of 512 up to 1073741824: " + text;
          },
          "N");
}

void registerLs(CLI::App* storage) {
  auto file = std::make_shared<std::string>();
  CLI::App* ls =
      storage->add_subcommand("ls", "One line per block: OFFSET MARKER LENGTH SLACK STATE");
  ls->add_option("FILE", *file, "The block file")->required()->check(nonEmptyFileName());
  ls->callback([file] {
    if (const std::string why = whyNotAFile(*file); !why.empty()) throw CommandError(*file, why);
    std::string out;
    for (const RawBlock& block : rawBlocks(*file)) {
      out += std::to_string(block.offset) + "\t" + formatText("0x%08x", block.marker) + "\t" +
             std::to_string(block.length) + "\t" + std::to_string(block.slack) + "\t" +
             block.state + "\n";
    }
    writeOut(out);
  });
}

void registerVerify(CLI::App* storage, int& status) {
  auto file = std::make_shared<std::string>();
  CLI::App* verify = storage->add_subcommand(
      "verify", "Count intact and deleted blocks, and name every anomaly (exit 1)");
  verify->add_option("FILE", *file, "The block file")->required()->check(nonEmptyFileName());
  verify->callback([file, &status] {
    KeyedStorage storage = openExisting(*file, false);
    const StorageSalvage walk = salvageOf(storage, *file);
    const std::size_t live = walk.liveBlocks();
    std::string out = "good " + std::to_string(live) + "\ndeleted " +
                      std::to_string(walk.blocks.size() - live) + "\ndamaged " +
                      std::to_string(walk.anomalies.size()) + "\n";
    for (const StorageAnomaly& anomaly : walk.anomalies) {
      out += describeStorageAnomaly(anomaly) + "\n";
    }
    writeOut(out);
    if (!walk.isDamaged()) return;
    const std::string first = describeStorageAnomaly(walk.anomalies.front());
    reportError(*file, walk.anomalies.size() == 1
                           ? "damaged: " + first
                           : "damaged: " + std::to_string(walk.anomalies.size()) +
                                 " anomalies, the first: " + first);
    status = 1;
  });
}

void registerCat(CLI::App* storage) {
  struct Options {
    std::string file, offset;
  };
  auto options = std::make_shared<Options>();
  CLI::App* cat = storage->add_subcommand("cat", "Print a block's payload, decompressed");
  cat->add_option("FILE", options->file, "The block file")->required()->check(nonEmptyFileName());
  cat->add_option("OFFSET", options->offset, "The block's offset")->required();
  cat->callback([options] {
    KeyedStorage file = openExisting(options->file, false);
    const auto offset = parseNumber<std::uint64_t>(options->offset);
    const CollectedLog damage;
    const auto block = file.seekToFileOffset(offset) ? file.nextAvailableBlock() : std::nullopt;
    if (!block || file.offsetOfLastBlock() != offset) {
      throw CommandError(options->file,
                         "no readable block at offset " + options->offset + damage.suffix());
    }
    writeOut(std::string_view(reinterpret_cast<const char*>(block->data()), block->size()));
  });
}

struct AppendOptions {
  std::string file, payload;
  bool compress = false, force = false, repair = false;
  std::uint64_t blockSize = 0;
};

// Refuses to append where the reader could not reach the new block, unless asked to
// repair a torn tail first.
void checkAppendable(KeyedStorage& storage, const AppendOptions& options) {
  const std::uint64_t length = storage.lengthOfFile();
  if (length == 0 || options.force) return;
  if (!startsWithBlockHeader(options.file)) {
    throw CommandError(options.file,
                       "not a block file (no block header at offset 0); --force appends anyway");
  }
  const std::uint64_t chainEnd = storage.endOfHeaderChain();
  if (chainEnd == length) return;
  if (options.repair && storage.truncateTornTail()) return;
  if (options.repair) {
    throw CommandError(options.file,
                       "damaged before its end, not repaired; orvel storage "
                       "verify names the damage, orvel storage salvage recovers "
                       "the blocks");
  }
  throw CommandError(options.file,
                     "the block at " + std::to_string(chainEnd) +
                         " is damaged or cut off (a torn append?): a block appended now could "
                         "not be read; --repair cuts off a torn tail first");
}

void registerAppend(CLI::App* storage) {
  auto options = std::make_shared<AppendOptions>();
  CLI::App* append =
      storage->add_subcommand("append", "Append a block (the PAYLOAD, or stdin); print its offset");
  append->add_option("FILE", options->file, "The block file (created when missing)")
      ->required()
      ->check(nonEmptyFileName());
  CLI::Option* payload =
      append->add_option("PAYLOAD", options->payload, "The payload; stdin when absent");
  append->add_flag("--compress", options->compress, "Compress when that saves space");
  append->add_flag("--force", options->force,
                   "Append even to a file that does not look like a block file");
  append->add_flag("--repair", options->repair,
                   "Cut off a block torn by a killed writer before appending");
  addBlockSizeOption(append, options->blockSize);
  append->callback([options, payload] {
    const bool given = payload->count() > 0;
    const std::string bytes = given ? options->payload : readAll("-");
    if (bytes.empty()) {
      throw CommandError(options->file,
                         given
                             ? "empty payload: a block holds at least one byte"
                             : "empty payload (stdin was empty): a block holds at least one byte");
    }
    if (const std::string why = whyNotAFile(options->file);
        !why.empty() && why != "No such file or directory") {
      throw CommandError(options->file, why);
    }
    KeyedStorage file = KeyedStorage::forAppending(options->file);
    if (!file.isValid()) throw CommandError(options->file, whyNotOpened(options->file, W_OK));
    checkAppendable(file, *options);
    file.setCompressed(options->compress);
    file.setBlockSize(options->blockSize);
    const std::uint64_t offset = file.lengthOfFile();
    if (!file.appendBlock(
            BlockBytes(reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size())) ||
        file.closeFile()) {
      throw CommandError(options->file, std::string("write failed: ") + std::strerror(errno));
    }
    writeOut(std::to_string(offset) + "\n");
  });
}

void registerDelete(CLI::App* storage) {
  struct Options {
    std::string file, offset;
  };
  auto options = std::make_shared<Options>();
  CLI::App* remove = storage->add_subcommand("delete", "Free the block at OFFSET");
  remove->add_option("FILE", options->file, "The block file")
      ->required()
      ->check(nonEmptyFileName());
  remove->add_option("OFFSET", options->offset, "The block's offset")->required();
  remove->callback([options] {
    KeyedStorage file = openExisting(options->file, true);
    const CollectedLog damage;
    if (!file.deleteBlockAtFileOffset(parseNumber<std::uint64_t>(options->offset))) {
      throw CommandError(options->file, "no block at offset " + options->offset + damage.suffix());
    }
  });
}

struct CompactOptions {
  std::string file, destination;
  bool skipErrors = false;
  std::uint64_t blockSize = 0;
};

// The refusal of a compaction that would keep fewer blocks than the salvage walk finds,
// or that meets damage: how many the reader would keep.
CommandError refusedCompaction(KeyedStorage& file, const std::string& path,
                               const StorageSalvage& walk) {
  bool damaged = false;
  std::size_t kept = 0;
  const CollectedLog quiet;
  while (file.nextAvailableBlock(nullptr, &damaged)) ++kept;
  const std::string damage = "damaged (" + describeStorageAnomaly(walk.anomalies.front()) + ")";
  if (kept == walk.liveBlocks()) {
    return CommandError(path, damage + ", left as it was; --skip-errors compacts it");
  }
  return CommandError(path, damage + ": compacting would keep " + std::to_string(kept) +
                                " of the " + std::to_string(walk.liveBlocks()) +
                                " intact blocks; --skip-errors keeps all of them");
}

// Compaction of a damaged file: every intact block the salvage walk finds, copied to the
// destination, or to a new file that then replaces this one.
void compactBySalvage(KeyedStorage& file, const CompactOptions& options) {
  const bool inPlace = options.destination.empty();
  const std::string target = inPlace ? options.file + ".orvel-compact" : options.destination;
  if (!file.salvageToPath(target, nullptr)) {
    if (inPlace) fs::remove(target);
    throw CommandError(target, "cannot be written");
  }
  if (inPlace) {
    std::error_code error;
    fs::rename(target, options.file, error);
    if (error) {
      fs::remove(target);
      throw CommandError(options.file, error.message());
    }
  }
}

void compactInPlace(KeyedStorage& file, const std::string& path) {
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
  if (!file.truncateFileAtOffset(free)) throw CommandError(path, "truncation failed");
}

void registerCompact(CLI::App* storage) {
  auto options = std::make_shared<CompactOptions>();
  CLI::App* compact =
      storage->add_subcommand("compact", "Drop free space: in place, or into DEST with --to");
  compact->add_option("FILE", options->file, "The block file")
      ->required()
      ->check(nonEmptyFileName());
  compact->add_option("--to", options->destination, "Copy the live blocks into DEST")
      ->check(nonEmptyFileName());
  compact->add_flag("--skip-errors", options->skipErrors,
                    "Compact a damaged file too, keeping every intact block");
  // The file does not record the size its blocks were padded to.
  addBlockSizeOption(compact, options->blockSize);
  compact->callback([options] {
    if (!options->destination.empty()) checkDestination(options->file, options->destination);
    KeyedStorage file = openExisting(options->file, true);
    file.setBlockSize(options->blockSize);
    const StorageSalvage walk = salvageOf(file, options->file);
    if (walk.isDamaged()) {
      if (!options->skipErrors) throw refusedCompaction(file, options->file, walk);
      compactBySalvage(file, *options);
      return;
    }
    const CollectedLog damage;
    if (options->destination.empty()) {
      compactInPlace(file, options->file);
    } else if (!file.optimizeToPath(options->destination, false, nullptr)) {
      throw CommandError(options->destination, "cannot be written" + damage.suffix());
    }
  });
}

void registerSalvage(CLI::App* storage) {
  struct Options {
    std::string file, destination;
    std::uint64_t blockSize = 0;
  };
  auto options = std::make_shared<Options>();
  CLI::App* salvage = storage->add_subcommand(
      "salvage", "Copy every intact block, wherever damage lies, into DEST");
  salvage->add_option("FILE", options->file, "The damaged block file")
      ->required()
      ->check(nonEmptyFileName());
  salvage->add_option("DEST", options->destination, "The new block file")
      ->required()
      ->check(nonEmptyFileName());
  addBlockSizeOption(salvage, options->blockSize);
  salvage->callback([options] {
    checkDestination(options->file, options->destination);
    KeyedStorage file = openExisting(options->file, false);
    file.setBlockSize(options->blockSize);
    const StorageSalvage walk = salvageOf(file, options->file);
    if (!file.salvageToPath(options->destination, nullptr)) {
      throw CommandError(options->destination, "cannot be written");
    }
    writeOut("blocks " + std::to_string(walk.liveBlocks()) + "\nanomalies " +
             std::to_string(walk.anomalies.size()) + "\n");
  });
}

}  // namespace

void registerStorageCommands(CLI::App& app, int& status) {
  CLI::App* storage = app.add_subcommand("storage", "Inspect and edit KeyedStorage block files");
  storage->require_subcommand(1);
  registerLs(storage);
  registerVerify(storage, status);
  registerCat(storage);
  registerAppend(storage);
  registerDelete(storage);
  registerCompact(storage);
  registerSalvage(storage);
}

}  // namespace orvel::cli
