// What the end-to-end tests of the orvel program share: running it, and the usual checks.
#pragma once

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "orvel/testing/run_program.h"

namespace orvel {

using testing::ProgramResult;

// Runs the orvel program built beside the tests with the arguments and standard input.
inline ProgramResult orvel(const std::vector<std::string>& arguments,
                           const std::string& input = {}) {
  return testing::runProgram(ORVEL_PROGRAM, arguments, input);
}

// Exit 0, exactly this output, nothing on stderr.
inline void expectSuccess(const ProgramResult& result, const std::string& out) {
  EXPECT_EQ(result.exitCode, 0) << result.err;
  EXPECT_EQ(result.out, out);
  EXPECT_EQ(result.err, "");
}

inline void expectFailure(const ProgramResult& result, int exitCode, const std::string& err) {
  EXPECT_EQ(result.exitCode, exitCode);
  EXPECT_EQ(result.out, "");
  EXPECT_EQ(result.err, err);
}

}  // namespace orvel
