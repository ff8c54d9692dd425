// The hostile TextPacks of testdata/hostile (written by scripts/make_hostile_packs.py), each
// unpacked beside a user's own files and read: what it answers, and that nothing it holds
// lands outside the destination or touches what the user had.
#include <clocale>
#include <filesystem>
#include <optional>
#include <set>
#include <string>

#include <gtest/gtest.h>

#include "orvel/formats/file_operations.h"
#include "orvel/formats/markdown_files.h"
#include "orvel/testing/files.h"
#include "orvel/testing/temp_dir.h"

namespace orvel {
namespace {

namespace fs = std::filesystem;

const fs::path kPacks = ORVEL_FORMATS_TESTDATA "/hostile";

struct HostilePack {
  const char* name;
  const char* unpackError;  // "" when the bundle unpacks
  std::optional<std::u16string> text;
};

const HostilePack kHostilePacks[] = {
    {"beside-destination.textpack", "", u"The second bundle, whose text is read.\n"},
    {"link-climbs-through-links.textpack",
     "Evil.textbundle/x: symbolic links are not unpacked here", std::nullopt},
    {"link-climbs-before-its-way-exists.textpack",
     "Evil.textbundle/escape: symbolic links are not unpacked here", std::nullopt},
    {"link-to-a-sibling.textpack", "Evil.textbundle/text.md: symbolic links are not unpacked here",
     std::nullopt},
    {"text-links-to-absolute-path.textpack",
     "Evil.textbundle/text.md: symbolic links are not unpacked here", std::nullopt},
    {"text-is-fifo.textpack",
     "Evil.textbundle/text.md: device files, FIFOs and sockets are not unpacked", std::nullopt},
    {"text-is-hard-link.textpack", "Evil.textbundle/text.md: hard links are not unpacked",
     std::nullopt},
    {"device-file.textpack",
     "Evil.textbundle/zero: device files, FIFOs and sockets are not unpacked", u"text\n"},
    {"climbs-by-name.textpack", "../escaped.textbundle/text.md: path outside the destination",
     std::nullopt},
    {"absolute-name.textpack",
     "/tmp/orvel-absolute.textbundle/text.md: path outside the destination", std::nullopt},
    {"writes-through-link.textpack", "Evil.textbundle/up: symbolic links are not unpacked here",
     u"text\n"},
    {"bundle-is-link.textpack", "Link.textbundle: symbolic links are not unpacked here",
     std::nullopt},
    {"expands-a-thousandfold.textpack",
     "Bomb.textbundle/text.md: unpacks to more than 200 times its size", std::nullopt},
    {"non-ascii-names.textpack", "", u"Caf\u00e9 au lait by the harbour.\n"},
    {"no-bundle.textpack", "holds no .textbundle folder", std::nullopt},
};

class HostilePackTest : public ::testing::Test {
 protected:
  void SetUp() override {
    // Entry names outside ASCII must read the same whatever the locale; C is the hardest.
    std::setlocale(LC_ALL, "C");
    _dir.writeFile("home/.profile", "mine\n");
    _dir.writeFile("home/Aaa.textbundle/text.md", "my own bundle\n");
  }
  fs::path home() const { return _dir.path() / "home"; }
  // What the user's folder holds, by name.
  std::set<std::string> namesAtHome() const {
    std::set<std::string> names;
    for (const auto& entry : fs::directory_iterator(home())) {
      names.insert(entry.path().filename().string());
    }
    return names;
  }
  void expectUserFilesUntouched() const {
    EXPECT_EQ(testing::fileBytes(home() / ".profile"), "mine\n");
    EXPECT_EQ(testing::fileBytes(home() / "Aaa.textbundle/text.md"), "my own bundle\n");
  }
  testing::TempDir _dir;
};

TEST_F(HostilePackTest, NothingLandsOutsideTheDestination) {
  if (!fs::exists(kPacks)) GTEST_SKIP() << kPacks << " is missing";
  for (const HostilePack& pack : kHostilePacks) {
    SCOPED_TRACE(pack.name);
    const fs::path destination = home() / "Dest.textbundle";
    std::string error;
    const bool unpacked = decompressTextBundleFile(kPacks / pack.name, destination, &error);
    EXPECT_EQ(unpacked, *pack.unpackError == '\0');
    EXPECT_EQ(unpacked ? "" : error, pack.unpackError);
    std::set<std::string> expected = {".profile", "Aaa.textbundle"};
    if (unpacked) expected.insert("Dest.textbundle");
    EXPECT_EQ(namesAtHome(), expected);
    expectUserFilesUntouched();
    EXPECT_FALSE(fs::exists("/tmp/orvel-absolute.textbundle"));
    EXPECT_FALSE(fs::exists(_dir.path() / "escaped.textbundle"));
    EXPECT_EQ(stringWithContentsOfTextBundleFile(kPacks / pack.name), pack.text);
    fs::remove_all(destination);
  }
}

// Unpacked where nothing is moved afterwards, links are made when they lead to a place inside
// the destination, followed as the kernel follows them through the links made before.
TEST_F(HostilePackTest, LinksAreFollowedBeforeTheyAreMade) {
  if (!fs::exists(kPacks)) GTEST_SKIP() << kPacks << " is missing";
  const struct {
    const char* pack;
    const char* error;
  } cases[] = {
      {"link-climbs-through-links.textpack",
       "Evil.textbundle/escape: symbolic link points outside the destination"},
      {"link-climbs-before-its-way-exists.textpack",
       "Evil.textbundle/escape: symbolic link points outside the destination"},
      {"text-links-to-absolute-path.textpack",
       "Evil.textbundle/text.md: symbolic link points outside the destination"},
      {"writes-through-link.textpack",
       "Evil.textbundle/up/.profile: would be written through a symbolic link or a file"},
  };
  for (const auto& item : cases) {
    SCOPED_TRACE(item.pack);
    const fs::path out = home() / "out";
    std::string error;
    EXPECT_FALSE(decompressFileAtPath(kPacks / item.pack, out, {}, &error));
    EXPECT_EQ(error, item.error);
    expectUserFilesUntouched();
    fs::remove_all(out);
  }
  // A link to a sibling stays inside where it was unpacked.
  EXPECT_TRUE(decompressFileAtPath(kPacks / "link-to-a-sibling.textpack", home() / "out"));
  EXPECT_EQ(testing::fileBytes(home() / "out/Evil.textbundle/text.md"),
            "echo the pack wrote this\n");
  expectUserFilesUntouched();
}

TEST_F(HostilePackTest, TheBundleAloneIsTaken) {
  if (!fs::exists(kPacks)) GTEST_SKIP() << kPacks << " is missing";
  ASSERT_TRUE(
      decompressTextBundleFile(kPacks / "beside-destination.textpack", home() / "Dest.textbundle"));
  EXPECT_EQ(testing::fileBytes(home() / "Dest.textbundle/text.md"),
            "The pack's own text about the harbour.\n");
  // The name of a bundle outside ASCII, and its assets.
  ASSERT_TRUE(
      decompressTextBundleFile(kPacks / "non-ascii-names.textpack", home() / "Out.textbundle"));
  EXPECT_EQ(testing::fileBytes(home() / "Out.textbundle/assets/\xC3\x96lbild.txt"), "an asset\n");
  // A destination that exists already is the user's: left as it is.
  std::string error;
  EXPECT_FALSE(decompressTextBundleFile(kPacks / "beside-destination.textpack",
                                        home() / "Aaa.textbundle", &error));
  EXPECT_EQ(error, (home() / "Aaa.textbundle").string() + ": already exists");
  expectUserFilesUntouched();
  // A bundle named as the destination in another case keeps its own name.
  ASSERT_TRUE(decompressTextBundleFile(kPacks / "beside-destination.textpack",
                                       home() / "PACKED.textbundle"));
  EXPECT_EQ(testing::fileBytes(home() / "Packed.textbundle/text.md"),
            "The pack's own text about the harbour.\n");
  EXPECT_EQ(namesAtHome(), (std::set<std::string>{".profile", "Aaa.textbundle", "Dest.textbundle",
                                                  "Out.textbundle", "Packed.textbundle"}));
}

}  // namespace
}  // namespace orvel
