// The real tolvane-fax as a child process, and what it made, taken apart without the library.
#pragma once

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "helpers/temp_dir.h"
#include "helpers/tiff_pages.h"

struct ToolRun {
  int status;
  std::string out, err;
};

/// A fax file: header text without its last byte, and the records.
struct FaxParts {
  std::string header;
  std::vector<std::string> records;
};

/// Takes a fax file apart; fails the test if the bytes are not exactly those of one.
FaxParts fax_parts(const std::string &bytes);

/// A test that types lines to a shell in a directory of its own.
class ToolTest : public testing::Test {
 protected:
  /// Runs a command of the shell; $tool is the program, $charts the directory of the ITU charts.
  ToolRun shell(const std::string &command, const std::string &input = {}) const;
  ToolRun run(const std::string &line, const std::string &input = {}) const {
    return shell("exec $tool " + line, input);
  }
  /// Runs a line of `tolvane-fax` that ends so, with this on standard error and nothing on standard output.
  void complains(const std::string &line, int status, const std::string &complaint) const;
  std::string bytes(const std::string &name) const { return read_file(dir.path(name)); }
  FaxParts parts(const std::string &name) const { return fax_parts(bytes(name)); }

  const TempDir dir;
};

/// The picture that libtiff decodes of a record of `height` lines in the coding "mh", "mr" or "mmr".
Picture seen_by_libtiff(const std::string &record, const std::string &coding, uint32_t height);

/// The lines of a record in MH: its EOLs.
uint32_t mh_lines(const std::string &record);

/// A page of runs at random lengths; some lines start black, and the last one ends so.
Picture random_page(uint32_t seed, uint32_t height);

/// The picture as a packed PBM file, and back.
std::string pbm(const Picture &picture);
Picture from_pbm(const std::string &bytes);
