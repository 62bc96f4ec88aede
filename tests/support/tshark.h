// tshark's reading of a capture file, for tests that compare it with what we logged.
#pragma once

#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>
#include <string>
#include <vector>

#include "support/temp_folder.h"

namespace sondara_test {

// One line per packet of the fields that `options` ask for (decode-as rules, -T fields, -E and
// -e options, shell-quoted as needed). A tshark that fails fails the test with its error output.
inline std::vector<std::string> TsharkLines(const std::string& capture,
                                            const std::string& options) {
  const std::string out = capture + ".fields", err = capture + ".err";
  const std::string cmd =
      "tshark -n -r '" + capture + "' " + options + " >'" + out + "' 2>'" + err + "'";
  EXPECT_EQ(std::system(cmd.c_str()), 0) << ReadFile(err);
  std::ifstream in(out);
  std::vector<std::string> lines;
  for (std::string line; std::getline(in, line);)
    lines.push_back(line);
  return lines;
}

}  // namespace sondara_test
