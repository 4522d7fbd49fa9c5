// Where the files of the checkout and of the build under test are. Only one source knows, so that the objects of all
// others are the same in every checkout.
#pragma once

#include <string>

/// The full path of a file of the repository.
std::string in_checkout(const std::string &path);
/// The full path of a file in the build directory.
std::string in_build(const std::string &path);
