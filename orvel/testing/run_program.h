// Runs a program with arguments and standard input, and collects what it printed.
#pragma once

#include <string>
#include <vector>

namespace orvel::testing {

struct ProgramResult {
  int exitCode = -1;  // -1 when the program did not exit normally
  std::string out;
  std::string err;
};

ProgramResult runProgram(const std::string& program, const std::vector<std::string>& arguments,
                         const std::string& input = {});

}  // namespace orvel::testing
