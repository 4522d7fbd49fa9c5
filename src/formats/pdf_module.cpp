// PDF is read by a module (pdf/), which is opened here when there is a PDF to read.
#include <dlfcn.h>
#include <limits.h>
#include <unistd.h>

#include <string>

#include "formats/page_readers.h"

namespace tolvane {
namespace {
[[gnu::used]] const char SCCS_ID[] = "@(#)|pdf_module|9|01|3|0|0|11/23/26|11:29:38";

using reader_fn = Status (*)(const PictureFile &file, const SourceOptions &options, const page_sink &sink);

// Opens the module: where it is installed, or beside the program in the build directory.
//
// @param fault  receives why there is none
reader_fn open_module(std::string &fault) {
  char path[PATH_MAX] = "";
  const ssize_t size = readlink("/proc/self/exe", path, sizeof path - 1);
  const std::string program(path, size > 0 ? static_cast<size_t>(size) : 0);
  const std::string directory = program.substr(0, program.rfind('/') + 1);
  const std::string installed = directory + TOLVANE_MODULE_DIR "/tolvane-pdf.so", beside = directory + "tolvane-pdf.so";
  const bool is_built = access(installed.c_str(), F_OK) != 0 && access(beside.c_str(), F_OK) == 0;
  void *module = dlopen((is_built ? beside : installed).c_str(), RTLD_NOW | RTLD_LOCAL);
  void *reader = module ? dlsym(module, "tolvane_read_pdf") : nullptr;
  if (!reader) fault = dlerror();
  return reinterpret_cast<reader_fn>(reader);
}

}  // namespace

Status read_pdf(const PictureFile &file, const SourceOptions &options, const page_sink &sink) {
  static std::string fault;
  static const reader_fn reader = open_module(fault);
  if (!reader) return failure("%s: PDF cannot be read: %s", file.name, fault.c_str());
  return reader(file, options, sink);
}

}  // namespace tolvane
