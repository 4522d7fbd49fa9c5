// The fax file library, compiled through the debugging layer, leaves no block and no file behind.
#include <fcntl.h>
#include <gmock/gmock.h>
#include <tolvane/faxlib.h>
#include <unistd.h>

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
  make_fax("a.fax");
  make_fax("b.fax");
  for (const int32_t coding : {3, 1, 0}) {
    EXPECT_EQ(t4dec_change_format("b.fax", coding, 0, nullptr), 1);
    read_and_decode("b.fax", coding, 2);
  }
  EXPECT_EQ(FaxFileOpen("a.fax", &fd) + FaxFileAddKeyword(fd, FAXFILE_INCLUDE, "b.fax 1 2"), FAXFILE_OK);
  EXPECT_EQ(FaxFileClose(fd) + FaxFileModifyKeyword("a.fax", FAXFILE_INCLUDE_PAGES, "2"), FAXFILE_OK);
  read_and_decode("a.fax", 0, 4);
  EXPECT_EQ(tr_init(".", ".") + open_trace_file("test") + tr_close(), 3);
}

TEST(DebugAlloc, TheLibraryFreesWhatItAllocatesAndClosesWhatItOpens) {
  const TempDir dir;
  ASSERT_EQ(chdir(dir.string().c_str()), 0);
  dir.write("TRACES", "test\n");
  testing::internal::CaptureStderr();
  work();
  EXPECT_EQ(left_behind(), "");
  EXPECT_THAT(testing::internal::GetCapturedStderr(), testing::Not(testing::HasSubstr("Error in d")));
}
