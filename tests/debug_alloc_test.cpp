// The fax file library, compiled through the debugging layer, does its work and its refusals; afterwards no block and
// no file is left, and nothing was freed or closed that the layer did not know.
#include <fcntl.h>
#include <gmock/gmock.h>
#include <tolvane/faxlib.h>
#include <unistd.h>

#include <fstream>

#include "helpers/fax_bytes.h"
#include "helpers/temp_dir.h"

using namespace tolvane;

static std::string left_behind() {
  std::string all;
  for (const malloc_record *each : malloc_array)
    if (each) all += std::string(each->fname, strnlen(each->fname, sizeof each->fname)) + " ";
  for (const open_record *each : open_array)
    if (each) all += std::string("open ") + each->path + " ";
  return all;
}

// Two pages in MH, the first put in front of the second.
static void make_fax(const char *path) {
  const std::string page = blank_page(40);
  const auto *data = reinterpret_cast<const uint8_t *>(page.data());
  const auto length = static_cast<int32_t>(page.size());
  FaxPageParams params{sizeof(FaxPageParams), FAX_PAGE_WRITE, 0, 0, 1, length, 0};
  FaxHeader *header = new_fax_header("#PAGES", "2");
  int32_t fd;
  EXPECT_EQ(FaxFileCreate(path, &fd), FAXFILE_OK);
  EXPECT_EQ(set_vertical_resolution(header, 1) + write_fax_header(fd, header) + free_fax_header(header), 3);
  EXPECT_EQ(FaxFileAppendEncodedPage(fd, data, length) + FaxFileStartPage(fd, &params), FAXFILE_OK);
  EXPECT_EQ(FaxFileWriteEncodedPage(fd, data, length) + FaxFileEndPage(fd) + FaxFileClose(fd), FAXFILE_OK);
}

static void read_and_decode(const char *path, int32_t coding, int pages) {
  const int32_t fd = dopen(path, O_RDONLY, 0, "test", 0);
  for (int page = 1; page <= pages; ++page) {
    uint8_t *data = nullptr;
    int32_t length = 0;
    ASSERT_EQ(FaxFileReadSpecificPage(fd, path, page, &data, &length), FAXFILE_OK) << path << " page " << page;
    EXPECT_THAT(left_behind(), testing::HasSubstr("pages.cpp")) << "the library does not go through the layer";
    EXPECT_EQ(t4dec(data, static_cast<uint32_t>(length), coding, nullptr, nullptr, nullptr), 1);
    dfree(data, "test", 0);
  }
  putrunlen(1, 0, nullptr, nullptr, nullptr);
  free_fax_header(read_fax_header(fd));
  dclose(fd, "test", 0);
}

static void work() {
  int32_t fd;
  char value[32768];
  make_fax("a.fax");
  make_fax("b.fax");
  for (const int32_t coding : {3, 1, 0}) {
    EXPECT_EQ(t4dec_change_format("b.fax", coding, 0, nullptr), 1);
    read_and_decode("b.fax", coding, 2);
  }
  EXPECT_EQ(FaxFileOpen("a.fax", &fd) + FaxFileAddKeyword(fd, FAXFILE_INCLUDE, "b.fax 1 2"), FAXFILE_OK);
  EXPECT_EQ(FaxFileGetKeywordValue(fd, FAXFILE_INCLUDE, value) + FaxFileClose(fd), FAXFILE_OK);
  EXPECT_EQ(FaxFileModifyKeyword("a.fax", FAXFILE_INCLUDE_PAGES, "2"), FAXFILE_OK);
  read_and_decode("a.fax", 0, 4);
  EXPECT_EQ(FaxFileDeleteKeyword("a.fax", FAXFILE_INCLUDE), FAXFILE_OK);
}

static void refuse() {
  const std::string fax = read_file("b.fax");
  for (const std::string &bytes : {std::string(), fax.substr(0, 20), fax.substr(0, fax.size() / 2), "x" + fax}) {
    std::ofstream("bad.fax") << bytes;
    int32_t fd = dopen("bad.fax", O_RDWR, 0, "test", 0), length;
    uint8_t *data = nullptr;
    EXPECT_NE(FaxFileReadSpecificPage(fd, "bad.fax", 3, &data, &length), FAXFILE_OK);
    free_fax_header(read_fax_header(fd));
    FaxFileAddKeyword(fd, FAXFILE_INCLUDE, "bad.fax 1 1");
    FaxFileReadSpecificPage(fd, "bad.fax", 1, &data, &length);
    if (data) dfree(data, "test", 0);
    dclose(fd, "test", 0);
    FaxFileDeleteKeyword("bad.fax", FAXFILE_COMPRESSION);
    t4dec_change_format("bad.fax", 0, 0, nullptr);
    if (FaxFileOpen("bad.fax", &fd) == FAXFILE_OK) FaxFileClose(fd);
  }
}

static void support() {
  char **pieces, name[100] = "x";
  EXPECT_EQ(split("a:b", ':', &pieces), 2);
  const std::vector<void *> given{pieces, find_executable("sh"), mkpath("x/../y"), mkpath("/.."), find_file("no such")};
  EXPECT_TRUE(copy("b.fax", "c.fax") && ks_move("c.fax", build_unique_DOS_name(name, nullptr)) && !copy(name, name));
  std::ofstream("TRACES") << "test\n";
  EXPECT_EQ(tr_init(".", ".") + open_trace_file("test") + tr_close(), 3);
  EXPECT_STREQ(rev_module("@(#)|m|9|01|2|0|0|07/26/99|14:48:54"), "m");
  for (void *each : given)
    if (each) dfree(each, "test", 0);
}

TEST(DebugAlloc, TheLibraryFreesWhatItAllocatesAndClosesWhatItOpens) {
  const TempDir dir;
  ASSERT_EQ(chdir(dir.string().c_str()), 0);
  setenv("SORBEXTMP", dir.string().c_str(), 1);
  testing::internal::CaptureStderr();
  for (void (*operations)() : {work, refuse, support}) operations();
  EXPECT_EQ(left_behind(), "getcwd.cpp rev.cpp ") << "the working directory and the stamp split last are for life";
  EXPECT_THAT(testing::internal::GetCapturedStderr(), testing::Not(testing::HasSubstr("Error in d")));
}
