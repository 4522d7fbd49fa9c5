#include "helpers/places.h"

std::string in_checkout(const std::string &path) {
  return TOLVANE_SOURCE_DIR "/" + path;
}

std::string in_build(const std::string &path) {
  return TOLVANE_BUILD_DIR "/" + path;
}
