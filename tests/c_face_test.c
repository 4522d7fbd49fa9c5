/* The C face used from C: each call's code, and what it leaves, in rows. */
#include <stdio.h>
#include <string.h>
#include <sys/resource.h>
#include <tolvane/fax.h>
#include <unistd.h>

enum { LINE_BYTES = 216, LINES = 40 };

static int failures = 0;

#define EXPECT(actual, expected)                                                              \
  do {                                                                                        \
    const long got = (long)(actual), wanted = (long)(expected);                               \
    if (got == wanted) break;                                                                 \
    fprintf(stderr, "%s:%d: %s is %ld, not %ld\n", __FILE__, __LINE__, #actual, got, wanted); \
    ++failures;                                                                               \
  } while (0)

static uint8_t lines[LINES * LINE_BYTES];
static const tolvane_picture drawn = {1728, LINES, LINE_BYTES, lines};

static void expect_value(tolvane_fax *fax, const char *name, const char *expected) {
  char *value;
  EXPECT(tolvane_value(fax, name, &value), expected ? TOLVANE_OK : TOLVANE_NO_KEYWORD);
  if (expected) EXPECT(value && strcmp(value, expected) == 0, 1);
  tolvane_free(value);
}

static void expect_picture(tolvane_fax *fax, int32_t page) {
  tolvane_picture read;
  EXPECT(tolvane_decode_page(fax, page, &read), TOLVANE_OK);
  EXPECT(read.height, LINES);
  EXPECT(read.lines && memcmp(read.lines, lines, sizeof lines) == 0, 1);
  tolvane_free(read.lines);
}

static void round_trip(int coding) {
  const char digit[] = {(char)('0' + coding), '\0'};
  tolvane_fax *fax, *reader;
  int32_t pages;
  uint8_t *data;
  size_t count;
  EXPECT(tolvane_create("a.fax", &fax), TOLVANE_OK);
  EXPECT(tolvane_set_value(fax, "COMPRESSION", digit), TOLVANE_OK);
  EXPECT(tolvane_set_value(fax, "RESOLUTION", "1"), TOLVANE_OK);
  EXPECT(tolvane_append_picture(fax, &drawn), TOLVANE_OK);
  EXPECT(tolvane_append_page(fax, NULL, 0), TOLVANE_OK);
  EXPECT(tolvane_set_value(fax, "SUBJECT", "two\nlines"), TOLVANE_OK);
  EXPECT(tolvane_close(fax), TOLVANE_OK);

  EXPECT(tolvane_open("a.fax", 0, &reader), TOLVANE_OK);
  EXPECT(tolvane_page_count(reader, &pages), TOLVANE_OK);
  EXPECT(pages, 2);
  EXPECT(tolvane_line_count(reader, &count), TOLVANE_OK);
  EXPECT(count, 4);
  expect_value(reader, "SUBJECT", "two\rlines");
  expect_value(reader, "#PAGES", "2");
  expect_value(reader, "SUB", NULL);
  expect_picture(reader, 1);
  EXPECT(tolvane_read_page(reader, 2, &data, &count), TOLVANE_OK);
  EXPECT(count, 0);
  tolvane_free(data);
  EXPECT(tolvane_read_page(reader, 3, &data, &count), TOLVANE_NO_PAGE);
  EXPECT(data == NULL, 1);
  EXPECT(tolvane_set_value(reader, "DATE", "x"), TOLVANE_READONLY);
  EXPECT(tolvane_append_page(reader, lines, 1), TOLVANE_READONLY);
  EXPECT(tolvane_close(reader), TOLVANE_OK);
}

/* A file b.fax with these header lines and a record. */
static void write_fax(const char *header, const uint8_t *record, uint32_t length) {
  const size_t size = strlen(header) + 1;
  const uint8_t head[] = {0xba, 0xdb, 0xad, 0x16, 0, 0, (uint8_t)(size >> 8), (uint8_t)size};
  const uint8_t word[] = {0x1d, 0, (uint8_t)(length >> 16), (uint8_t)(length >> 8), (uint8_t)length};
  FILE *file = fopen("b.fax", "wb");
  EXPECT(fwrite(head, sizeof head, 1, file) + fwrite(header, size - 1, 1, file), 2);
  EXPECT(fwrite(word, sizeof word, 1, file) + fwrite(record, length, 1, file) + (size_t)fclose(file), 2);
}

/* Pages that the header counts wrong, or names with lines that occur twice. */
static void convert_all_pages(void) {
  static const struct {
    const char *header;
    long lines;
  } rows[] = {
      {"RESOLUTION:1\nCOMPRESSION:3\n", 3},
      {"#PAGES:1\nCOMPRESSION:0\nCOMPRESSION:3\n", 3},
      {"SUBJECT:of #PAGES:1\nno colon\n#PAGES:9\nINCLUDE:b 9 1\nINCLUDE:b 9 1\nCOMPRESSION:3\n", 6},
  };
  size_t i, lines_read;
  for (i = 0; i < sizeof rows / sizeof *rows; ++i) {
    tolvane_fax *fax;
    write_fax(rows[i].header, (const uint8_t *)"\x00\x08\x80", 3);
    EXPECT(tolvane_open("b.fax", 1, &fax), TOLVANE_OK);
    EXPECT(tolvane_append_picture(fax, &drawn), TOLVANE_OK);
    EXPECT(tolvane_convert("b.fax", TOLVANE_MR), TOLVANE_OK);
    EXPECT(tolvane_append_picture(fax, &drawn), TOLVANE_OK);
    EXPECT(tolvane_close(fax), TOLVANE_OK);
    EXPECT(tolvane_open("b.fax", 0, &fax), TOLVANE_OK);
    expect_picture(fax, 3); /* in the coding that the file has now */
    EXPECT(tolvane_line_count(fax, &lines_read), TOLVANE_OK);
    EXPECT(lines_read, rows[i].lines);
    expect_value(fax, "COMPRESSION", "1");
    expect_value(fax, "#PAGES", "3");
    EXPECT(tolvane_close(fax), TOLVANE_OK);
  }
}

/* A record of a bit for each line; the last bit of a record is none. */
static void refuse_endless_page(void) {
  static uint8_t record[8193];
  tolvane_fax *fax;
  tolvane_picture read;
  int too_long;
  memset(record, 0xff, sizeof record);
  for (too_long = 0; too_long < 2; ++too_long) {
    write_fax("COMPRESSION:3\n", record, 8192 + (uint32_t)too_long);
    EXPECT(tolvane_open("b.fax", 1, &fax), TOLVANE_OK);
    EXPECT(tolvane_decode_page(fax, 1, &read), too_long ? TOLVANE_FORMAT : TOLVANE_OK);
    EXPECT(read.height, too_long ? 0 : 65535);
    tolvane_free(read.lines);
    read = drawn;
    read.height = 65536;
    EXPECT(tolvane_append_picture(fax, &read), TOLVANE_ARGUMENT);
    EXPECT(tolvane_close(fax), TOLVANE_OK);
  }
}

/* A handle whose file, once replaced, could not be opened again follows other editors all the same. */
static void move_without_descriptors(void) {
  const int next = dup(0);
  struct rlimit usual, few;
  tolvane_fax *fax, *other;
  int32_t pages;
  write_fax("COMPRESSION:3\n", (const uint8_t *)"\x00\x08\x80", 3);
  EXPECT(close(next) + getrlimit(RLIMIT_NOFILE, &usual), 0);
  EXPECT(tolvane_open("b.fax", 1, &fax), TOLVANE_OK);
  few = usual;
  few.rlim_cur = (rlim_t)next + 2; /* the handle and its new file */
  EXPECT(setrlimit(RLIMIT_NOFILE, &few), 0);
  EXPECT(tolvane_set_value(fax, "DATE", "d"), TOLVANE_OK);
  EXPECT(tolvane_set_value(fax, "DATE", "e"), TOLVANE_OK);
  EXPECT(setrlimit(RLIMIT_NOFILE, &usual), 0);
  EXPECT(tolvane_open("b.fax", 1, &other), TOLVANE_OK);
  EXPECT(tolvane_set_value(other, "SUBJECT", "s"), TOLVANE_OK);
  EXPECT(tolvane_append_picture(fax, &drawn), TOLVANE_OK);
  EXPECT(tolvane_close(fax), TOLVANE_OK);
  expect_value(other, "DATE", "e");
  EXPECT(tolvane_page_count(other, &pages), TOLVANE_OK);
  EXPECT(pages, 2);
  EXPECT(tolvane_close(other), TOLVANE_OK);
}

/* A header of as many lines as the viewer reads has no room for #PAGES. */
static void keep_header_readable(void) {
  char header[16 + 3 * 99] = "COMPRESSION:3\n";
  tolvane_fax *fax;
  int lines;
  for (lines = 1; lines < 98; ++lines) strcat(header, "X:\n");
  for (; lines < 100; ++lines, strcat(header, "X:\n")) {
    const int code = lines < 99 ? TOLVANE_OK : TOLVANE_FORMAT;
    write_fax(header, (const uint8_t *)"\x00\x08\x80", 3);
    EXPECT(tolvane_convert("b.fax", TOLVANE_MR), code);
    write_fax(header, (const uint8_t *)"\x00\x08\x80", 3);
    EXPECT(tolvane_open("b.fax", 1, &fax), TOLVANE_OK);
    EXPECT(tolvane_append_picture(fax, &drawn), TOLVANE_OK);
    EXPECT(tolvane_close(fax), code);
    write_fax(header, (const uint8_t *)"\x00\x08\x80", 3);
    EXPECT(tolvane_open("b.fax", 1, &fax), TOLVANE_OK);
    EXPECT(tolvane_set_value(fax, "SUBJECT", "s"), code);
    EXPECT(tolvane_close(fax), TOLVANE_OK);
  }
}

/* A new page would become the rest of one that is cut short. */
static void refuse_page_after_cut_one(void) {
  tolvane_fax *fax;
  FILE *file;
  write_fax("COMPRESSION:3\n", (const uint8_t *)"\x00\x08\x80", 3);
  EXPECT(tolvane_open("b.fax", 1, &fax), TOLVANE_OK);
  EXPECT(tolvane_append_picture(fax, &drawn), TOLVANE_OK);
  file = fopen("b.fax", "ab");
  EXPECT(fputc(0, file) + fclose(file), 0);
  EXPECT(tolvane_append_picture(fax, &drawn), TOLVANE_FORMAT);
  EXPECT(tolvane_close(fax), TOLVANE_FORMAT);
}

int main(void) {
  static const int codings[] = {TOLVANE_MH, TOLVANE_MR, TOLVANE_MMR};
  tolvane_fax *fax;
  char *line;
  size_t i;
  for (i = 0; i < sizeof lines; ++i)
    lines[i] = (uint8_t)(i % LINE_BYTES > 20 && i / LINE_BYTES % 7 < 4 ? i * i >> 3 : 0);
  lines[sizeof lines - 1] = 1; /* a last line that is not white */
  for (i = 0; i < sizeof codings / sizeof *codings; ++i) round_trip(codings[i]);

  EXPECT(tolvane_convert("a.fax", TOLVANE_MR), TOLVANE_OK);
  EXPECT(tolvane_convert("a.fax", 2), TOLVANE_CODING);
  EXPECT(tolvane_convert("none.fax", TOLVANE_MR), TOLVANE_OPEN);
  convert_all_pages();
  refuse_endless_page();
  move_without_descriptors();
  keep_header_readable();
  refuse_page_after_cut_one();
  EXPECT(tolvane_open("none.fax", 0, &fax), TOLVANE_OPEN);
  EXPECT(fax == NULL, 1);
  EXPECT(tolvane_open("a.fax", 1, &fax), TOLVANE_OK);
  expect_value(fax, "COMPRESSION", "1");
  EXPECT(tolvane_line(fax, 0, &line), TOLVANE_OK);
  EXPECT(strcmp(line, "COMPRESSION:1"), 0);
  tolvane_free(line);
  EXPECT(tolvane_line(fax, 4, &line), TOLVANE_NO_KEYWORD);
  EXPECT(tolvane_set_value(fax, "a:b", ""), TOLVANE_ARGUMENT);
  for (i = 0; i < 2; ++i) {
    EXPECT(tolvane_set_value(fax, "COMPRESSION", i == 0 ? "2" : " "), TOLVANE_OK);
    EXPECT(tolvane_append_picture(fax, &drawn), TOLVANE_CODING);
  }
  EXPECT(tolvane_close(fax), TOLVANE_OK);
  EXPECT(tolvane_close(NULL), TOLVANE_OK);
  EXPECT(strcmp(tolvane_error_text(TOLVANE_NO_PAGE), "no such page"), 0);
  unlink("a.fax");
  unlink("b.fax");
  return failures != 0;
}
