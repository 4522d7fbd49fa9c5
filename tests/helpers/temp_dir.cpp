#include "helpers/temp_dir.h"

#include <stdlib.h>

#include <fstream>
#include <iterator>

TempDir::TempDir() {
  // No hyphen before the random letters: "-g" in a file name is a geometry switch to the viewer.
  std::string name = (std::filesystem::temp_directory_path() / "tolvane-test.XXXXXX").string();
  dir_ = mkdtemp(name.data());
}

TempDir::~TempDir() {
  std::error_code ignored;
  std::filesystem::remove_all(dir_, ignored);
}

std::string TempDir::write(const std::string &name, const std::string &bytes) const {
  std::ofstream(path(name), std::ios::binary) << bytes;
  return path(name);
}

int TempDir::entries() const {
  return static_cast<int>(std::distance(std::filesystem::directory_iterator(dir_), {}));
}

std::string read_file(const std::string &path) {
  std::ifstream in(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(in), {}};
}
