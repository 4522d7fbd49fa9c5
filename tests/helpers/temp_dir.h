// A directory of a test's own, gone with the object, and the reading and writing of small files.
#pragma once

#include <filesystem>
#include <string>

class TempDir {
 public:
  TempDir();
  ~TempDir();
  TempDir(const TempDir &) = delete;
  TempDir &operator=(const TempDir &) = delete;

  /// The path of `name` in this directory, without making it.
  std::string path(const std::string &name) const { return (dir_ / name).string(); }
  /// Makes the file `name` with these bytes and gives its path.
  std::string write(const std::string &name, const std::string &bytes) const;
  std::string string() const { return dir_.string(); }
  /// Number of entries in the directory: a fault that leaves a temporary file behind shows here.
  int entries() const;

 private:
  std::filesystem::path dir_;
};

std::string read_file(const std::string &path);
