// orvel entities and charset, run as a user runs them.
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "tools/orvel/cli_test_support.h"

namespace orvel {
namespace {

TEST(EntitiesCommandTest, DecodeWithItsOptions) {
  const std::string text = "caf&eacute; &lt;b&gt; &#233;&#x1F600;";
  EXPECT_EQ(orvel({"entities", "decode"}, text).out, "caf\xC3\xA9 <b> \xC3\xA9\xF0\x9F\x98\x80");
  EXPECT_EQ(orvel({"entities", "decode", "--no-markup"}, text).out,
            "caf\xC3\xA9 &lt;b&gt; \xC3\xA9\xF0\x9F\x98\x80");
  EXPECT_EQ(orvel({"entities", "decode", "--numeric-only", "--no-markup"}, text).out,
            "caf&eacute; &lt;b&gt; \xC3\xA9\xF0\x9F\x98\x80");
  EXPECT_EQ(orvel({"entities", "decode", "--non-umlauted"}, "&Eacute;t\xC3\xA9").out, "Ete");
  EXPECT_EQ(orvel({"entities", "decode"}, "bad \xFF").exitCode, 1);
}

TEST(EntitiesCommandTest, EncodeInThreeWays) {
  const std::string text = "\xC3\xA9<\xC2\xB8";
  EXPECT_EQ(orvel({"entities", "encode"}, text).out, "&eacute;<&#184;");
  EXPECT_EQ(orvel({"entities", "encode", "--numeric"}, text).out, "&#233;<&#184;");
  EXPECT_EQ(orvel({"entities", "encode", "--standard"}, text).out, "\xC3\xA9&lt;\xC2\xB8");
  EXPECT_EQ(orvel({"entities", "encode", "--numeric", "--standard"}, text).exitCode, 2);
}

TEST(CharsetCommandTest, NumbersAndConverters) {
  const ProgramResult result = orvel({"charset", "ISO-8859-1", "Shift_JIS", "klingon"});
  EXPECT_EQ(result.exitCode, 1);
  EXPECT_EQ(result.out,
            "ISO-8859-1\t0x00000201\t0x00000005\tISO-8859-1\n"
            "Shift_JIS\t0x00000a01\t0x00000008\tShift_JIS\n"
            "klingon\t0xffffffff\t0xffffffff\t-\n");
  EXPECT_EQ(result.err, "orvel: Unknown/Unsupported encoding: klingon\n");
}

}  // namespace
}  // namespace orvel
