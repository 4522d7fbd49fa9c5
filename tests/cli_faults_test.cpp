// The frame of the tool: bad input, full disks, rights, signals, and what goes to which channel.
#include <gmock/gmock.h>
#include <unistd.h>

#include "helpers/child_process.h"
#include "helpers/encoded_page.h"
#include "helpers/fax_bytes.h"
#include "helpers/fax_tool.h"
#include "helpers/places.h"

using testing::HasSubstr;
using testing::Not;
using Faults = ToolTest;

namespace {

#ifdef __SANITIZE_ADDRESS__
constexpr bool SANITIZED = true;  // which reserves more memory than any limit allows
#else
constexpr bool SANITIZED = false;
#endif

std::string with_memory(int kilobytes, const std::string &command) {
  return SANITIZED ? command : "ulimit -v " + std::to_string(kilobytes) + "; " + command;
}

}  // namespace

TEST_F(Faults, BadPagesAreNamedAndNothingIsMade) {
  const std::string png = shell("convert -size 300x300 xc:gray png:-").out, page = pbm(random_page(1, 2));
  const std::string tiff = read_file(in_checkout("bench/charts/itu4.tif"));
  const struct {
    std::string bytes;
    int status;
    const char *complaint, *options = "";
  } cases[] = {
      {"", 2, "empty"},
      {fax_bytes("DATE:1\n"), 2, "merge"},
      {tiff.substr(0, tiff.size() / 2), 2, "in.page: "},
      {spoilt(tiff, 1), 3, "in.page: page 1: line "},
      {spoilt(shell("convert -size 300x300 gradient: -compress JPEG tiff:-").out, 1), 3, "page 1: Corrupt JPEG"},
      {png.substr(0, png.size() / 2), 2, "in.page: "},
      {"%PDF-1.4\nnothing", 2, "not a PDF"},
      {"P4 10000 100000\n", 2, "10000 x 100000 pixels"},
      {"P4 10 60000\n" + std::string(120000, '\0'), 2, "more than 32767 lines"},
      {page + "P7", 2, "start of page 2"},
      {std::string(40, '\0'), 2, "no line", "--raw g3"},
      {encoded_page(random_page(1, 90), 0).substr(0, 2000) + "\x12\x34\x56\x78", 3, "page 1: line ", "--raw g3"},
      {page, 1, "set by the program", "-k '#PAGES=3'"},
  };
  for (const auto &row : cases) {
    dir.write("in.page", row.bytes);
    complains("create out.fax in.page " + std::string(row.options), row.status, row.complaint);
    EXPECT_EQ(dir.entries(), row.status == 3 ? 2 : 1) << row.complaint;
    std::filesystem::remove(dir.path("out.fax"));
  }
}

// What a header promises costs nothing: neither time, nor memory, nor more than a message for what is not there.
TEST_F(Faults, InclusionsOfWhatIsNoFileAndOfPagesThatAreNotThereEndAtOnce) {
  shell("mkfifo fifo; ln -s /dev/zero zero");
  std::string twice_as_many = "a.fax 1 1";
  for (int count = 2; count < 1 << 27; count *= 2) twice_as_many += "\nINCLUDE:a.fax 1 " + std::to_string(count);
  const std::tuple<std::string, const char *, size_t> cases[] = {
      {"nofile 1 2000000000", "pages 1 to 2000000000 are not available: ./nofile: No such file", 1},
      {"nofile 1 2147483647", "pages 1 to 2147483646 are not available: ./nofile: No such file", 40000},
      {"fifo 1 1", "page 1 is not available: ./fifo: ", 1},
      {"zero 1 3", "pages 1 to 3 are not available: ./zero: ", 1},
      {"a.fax 1 70000", "are not available: endless inclusions", 1},
      {twice_as_many, "are not available: endless inclusions", 1},
  };
  for (const auto &[inclusion, complaint, records] : cases) {
    dir.write("a.fax",
              fax_bytes("#PAGES:1\nRESOLUTION:1\nINCLUDE:" + inclusion + "\n", std::vector(records, blank_page(4))));
    for (const char *line :
         {"info a.fax", "check a.fax", "extract a.fax a.pbm", "extract a.fax a.pbm -p 1-z", "merge b.fax a.fax",
          "split a.fax %d.fax", "compare a.fax a.fax", "convert --to mr a.fax"}) {
      const ToolRun done = shell(with_memory(400000, "exec timeout 20 $tool ") + line);
      EXPECT_LT(done.status, 4) << line << done.err;
      EXPECT_LT(done.err.size(), 400U) << line << done.err;
      EXPECT_THAT(done.err, HasSubstr(std::string(line).starts_with("convert") ? "" : complaint)) << line;
    }
  }
}

// However many pages come from a file, and are under way, it is read once and opened for one of them at a time. However
// many are missing, those after them are there.
TEST_F(Faults, ManyIncludedPagesTakeNeitherTimeNorDescriptorsNorOtherPages) {
  std::string gaps, copies;
  for (int at = 1; at <= 300; ++at) gaps += "INCLUDE:gone " + std::to_string(at) + " 1\n";
  for (int i = 0; i < 15; ++i) copies += "INCLUDE:c.fax 1 600\n";
  dir.write("b.fax", fax_bytes("RESOLUTION:1\n", std::vector<std::string>(12000)));
  dir.write("a.fax", fax_bytes("#PAGES:0\nRESOLUTION:1\nINCLUDE_PAGES:12000\nINCLUDE:b.fax 1 12000\n"));
  dir.write("c.fax", fax_bytes("RESOLUTION:1\nCOMPRESSION:3\nINCLUDE_PAGES:300\n" + gaps,
                               std::vector(300, encoded_page(random_page(1, 4), 3))));
  dir.write("d.fax", fax_bytes("#PAGES:0\nRESOLUTION:1\nCOMPRESSION:3\nINCLUDE_PAGES:9000\n" + copies));
  const std::tuple<const char *, int, const char *> cases[] = {
      {"check a.fax", 0, ""},
      {"merge b2.fax a.fax", 0, ""},
      {"check d.fax", 3, "d.fax: 404 more pages are not available\n"},
      {"extract -p 9000 d.fax d.pbm", 0, ""},
  };
  for (const auto &[line, status, complaint] : cases) {
    const ToolRun done = shell(std::string("ulimit -n 60; exec timeout 20 $tool -j 30 ") + line);
    EXPECT_EQ(done.status, status) << line << done.err.substr(0, 300);
    EXPECT_THAT(done.err, testing::EndsWith(complaint)) << line;
  }
  dir.write("e.fax", fax_bytes("#PAGES:1\nRESOLUTION:1\nCOMPRESSION:3\n", {encoded_page(random_page(1, 4), 3)}));
  EXPECT_EQ(shell("for i in $(seq 80); do cp e.fax $i.fax; done; ulimit -Sn 60; $tool merge f.fax [1-9]*.fax").err, "");
}

// A header may name any file, straight or through a link. What comes from elsewhere is reported, or refused.
TEST_F(Faults, PagesFromOutsideTheDirectoryAreReportedOrRefused) {
  const std::string page = encoded_page(random_page(1, 4), 3), modes = "RESOLUTION:1\nCOMPRESSION:3\n";
  shell("mkdir -p in/below priv; ln -s ../priv/secret.fax in/link.fax; ln -s ../in/below/b.fax priv/back.fax");
  for (const char *name : {"priv/secret.fax", "in/below/b.fax"})
    dir.write(name, fax_bytes("#PAGES:2\n" + modes, {page, page}));
  dir.write("in/chain.fax", fax_bytes("#PAGES:0\nINCLUDE_PAGES:1\nINCLUDE:../priv/secret.fax 1 1\n" + modes));
  const std::string secret = dir.path("priv/secret.fax"), plain = "";
  const std::tuple<const char *, std::string, int> cases[] = {
      {"below/b.fax 1 2", plain, 2},
      {"../priv/back.fax 1 1", plain, 1},
      {"../priv/secret.fax 1 2", "takes 2 pages from " + secret, 2},
      {"link.fax 1 1", "takes 1 page from " + secret, 1},
      {"chain.fax 1 1", "takes 1 page from " + secret, 1},
  };
  for (const auto &[inclusion, reported, pages] : cases) {
    dir.write("in/a.fax",
              fax_bytes("#PAGES:1\nINCLUDE_PAGES:" + std::to_string(pages) + "\nINCLUDE:" + inclusion + "\n" + modes,
                        {page}));
    for (const std::string line :
         {"info in/a.fax", "check in/a.fax", "extract in/a.fax a.pbm", "render in/a.fax a.pbm",
          "merge --force b.fax in/a.fax", "split in/a.fax s%d.fax", "compare in/a.fax in/a.fax"}) {
      const ToolRun done = run(line), refused = run(line + " --no-outside");
      EXPECT_EQ(done.status, 0) << line << done.err;
      EXPECT_EQ(done.err.empty(), reported.empty()) << line << done.err;
      EXPECT_THAT(done.err, HasSubstr(reported)) << line;
      EXPECT_EQ(refused.status == 0, reported.empty()) << line << inclusion << refused.err;
      EXPECT_THAT(refused.err, HasSubstr(reported.empty() ? "" : "outside the directory of the document\n")) << line;
    }
    EXPECT_THAT(run("check --json in/a.fax").out, testing::ContainsRegex("\"good\":true.*\"faults\":\\[\\]"));
  }
  // What one file includes is no output of another, nor that of a shell; one that is missing is not made.
  const std::string own = read_file(dir.path("in/below/b.fax"));
  for (const char *name : {"in/cover.fax", "in/co.fax"}) dir.write(name, own);
  dir.write("in/a.fax", fax_bytes("#PAGES:1\nINCLUDE_PAGES:1\nINCLUDE:cover.fax 1 1\n" + modes, {page}));
  complains("extract -f pbm in/a.fax in/co.fax in/{name}ver.fax -p 1", 1, "in/cover.fax, which is to be read");
  complains("extract -f pbm in/a.fax - -p 1 1<>in/cover.fax", 2, "not overwritten");
  EXPECT_TRUE(read_file(dir.path("in/cover.fax")) == own);
  shell("rm in/cover.fax; mkfifo in/fifo");
  complains("merge --keep-going --inclusions keep in/cover.fax in/a.fax", 2, "cover.fax: not overwritten");
  complains("append in/fifo a.pbm", 2, "not a regular file");
  // Readers take any text for an inclusion, and those before one that is not valid.
  for (const std::string line :
       {"SUBJECT:see INCLUDE:../priv/secret.fax 2 1\n", "INCLUDE:../priv/secret.fax 2 1\nINCLUDE:x\n"}) {
    dir.write("in/a.fax", fax_bytes("#PAGES:2\n" + line + modes, {page, page}));
    complains("extract -f tiff in/a.fax priv/secret.fax", 2, "not overwritten");
    const ToolRun checked = run("check in/a.fax");
    EXPECT_EQ(checked.status, 3) << line;
    EXPECT_THAT(checked.err, HasSubstr("takes 1 page from " + secret)) << line;
    if (!line.starts_with("SUBJECT")) continue;
    complains("merge --force b.fax in/below/b.fax in/a.fax", 0, "takes 1 page from " + secret);
    EXPECT_EQ(parts("b.fax").records.size(), 5);
    for (const char *edit : {"split in/a.fax s%d.fax", "insert 1 in/a.fax a.pbm"})
      complains(edit, 2, "inside the line SUBJECT is read as an inclusion");
    complains("append in/a.fax a.pbm", 0, "");
  }
  complains("include ../priv/secret.fax 1 1 in/a.fax --no-outside", 2, "outside the directory of in/a.fax");
}

// A page that ends in a make-up code, in MR and in MMR, has no effect on the next one, in the same file or another.
TEST_F(Faults, DamageOfOnePageStaysInThatPage) {
  const std::pair<std::string, std::string> cases[] = {{"1", std::string("\x78\x03\x00", 3)},
                                                       {"3", std::string("\xff\xff\xff\x3f\x37\0\0", 7)}};
  for (const auto &[coding, bad] : cases) {
    const std::string head = "#PAGES:1\nRESOLUTION:1\nCOMPRESSION:" + coding + "\n";
    const std::string good = encoded_page(random_page(1, 20), coding[0] - '0');
    dir.write("bad.fax", fax_bytes(head, {bad}));
    dir.write("good.fax", fax_bytes(head, {good}));
    EXPECT_THAT(run("check bad.fax good.fax").out, HasSubstr("good.fax: good, 1 page, 20 lines")) << coding;
    run("merge --coding mh both.fax bad.fax good.fax");
    run("merge --coding mh one.fax good.fax");
    EXPECT_TRUE(parts("both.fax").records.at(1) == parts("one.fax").records.at(0)) << coding;
    std::filesystem::remove(dir.path("both.fax"));
    std::filesystem::remove(dir.path("one.fax"));
  }
}

// A megabyte of one-bit lines is eight million of them.
TEST_F(Faults, LinesOfOneBitTakeNoMemory) {
  dir.write("a.fax", fax_bytes("#PAGES:1\nRESOLUTION:1\nCOMPRESSION:3\n", {std::string(1 << 20, '\xff')}));
  const std::pair<const char *, const char *> cases[] = {
      {"info a.fax", ""},
      {"check a.fax", "good"},
      {"extract a.fax a.pbm", "8388607 lines are more than 65535"},
      {"merge --resolution normal b.fax a.fax", "8388607 lines are more than 65535"},
  };
  for (const auto &[line, told] : cases) {
    const ToolRun done = shell(with_memory(250000, "exec $tool ") + line);
    EXPECT_THAT(done.out + done.err, HasSubstr(told));
    EXPECT_THAT(done.err, Not(HasSubstr("memory"))) << line;
  }
}

// The decoders of MH and MMR add a line of their own.
TEST_F(Faults, TheLongestPageKeepsItsLastLine) {
  Picture page{1728, 65535, std::vector<uint8_t>(216 * 65535)};
  std::fill_n(page.pixels.end() - 216, 216, 0xff);
  for (const int coding : {0, 1, 3}) {
    const std::string head = "#PAGES:1\nRESOLUTION:1\nCOMPRESSION:" + std::to_string(coding) + "\n";
    const ToolRun done = run("extract -f pbm - -", fax_bytes(head, {encoded_page(page, coding)}));
    EXPECT_TRUE(done.out == pbm(page)) << coding << done.err;
  }
}

TEST_F(Faults, MessagesNameTheFileWhatFailedAndWhy) {
  ASSERT_EQ(run("create a.fax $charts/itu1.tif").status, 0);
  const std::string modes = "RESOLUTION:1\nCOMPRESSION:3\n", page = encoded_page(random_page(1, 4), 3);
  dir.write("fall.fax", fax_bytes("INCLUDE:a.fax 2 1\nINCLUDE:a.fax 1 1\n" + modes, {page}));
  dir.write("short.fax", fax_bytes("#PAGES:1\nINCLUDE_PAGES:1\nINCLUDE:a.fax 3 1\n" + modes, {page}));
  const std::string large = ": File too large", tmp = "(see TMPDIR): Not a directory",
                    fall = "\"INCLUDE:a.fax 1 1\" is out";
  const std::pair<const char *, std::string> cases[] = {
      {"create new.fax $charts/itu4.tif", "new.fax: its pages cannot be stored" + large},
      {"append a.fax $charts/itu1.tif", "a.fax: its pages cannot be stored" + large},
      {"keywords set a.fax SUBJECT=x", "a.fax: cannot be written" + large},
      {"merge --inclusions keep new.fax a.fax a.fax", "new.fax: its pages cannot be stored" + large},
      {"split a.fax n%d.fax", "n1.fax: its pages cannot be stored" + large},
      {"extract a.fax new.pdf", "new.pdf: cannot be written" + large},
      {"extract a.fax new.tif", "new.tif: cannot be written" + large},
      {"extract a.fax new.pbm", "new.pbm: cannot be written" + large},
      {"render a.fax new.png", "new.png: cannot be written" + large},
      {"extract a.fax gone/new.pbm", "gone/new.pbm: cannot be written: No such file or directory"},
      {"extract a.fax - -f pbm", "standard output: no temporary file can be made for it " + tmp},
      {"info - <fifo", "standard input: no temporary copy can be made of it " + tmp},
      {"info fifo", "fifo: no temporary copy can be made of it " + tmp},
      {"info .", ".: Is a directory"},
      {"extract a.fax new.jpg", "new.jpg: its ending says no format: use --format tiff|"},
      {"extract a.fax new.tif -f jpg", "--format: \"jpg\" is not one of tiff|"},
      {"split fall.fax n%d.fax", "fall.fax: " + fall},
      {"check fall.fax", "fall.fax: " + fall},
      {"render short.fax new.pbm -p 2", "page 2 is not available: short.fax has no page 2 of its own"},
  };
  shell("mkfifo fifo");
  for (const auto &[line, message] : cases) {
    const ToolRun done = shell("ulimit -f 16; exec 8<>fifo; TMPDIR=a.fax exec $tool " + std::string(line));
    EXPECT_THAT(done.err, HasSubstr(message)) << line;
  }
}

// A limit on the size of files fails writes as a full disk does, at a size that the test can choose.
TEST_F(Faults, AFullDiskLosesNothing) {
  ASSERT_EQ(run("create a.fax $charts/itu1.tif").status, 0);
  const std::string before = bytes("a.fax");
  std::vector<std::string> lines = {"create a.fax $charts/itu4.tif",
                                    "create new.fax $charts/itu4.tif",
                                    "create /dev/full $charts/itu1.tif",
                                    "append a.fax $charts/itu1.tif",
                                    "insert 1 a.fax $charts/itu4.tif",
                                    "convert --to mh a.fax",
                                    "keywords set a.fax SUBJECT=x",
                                    "keywords list a.fax >/dev/full",
                                    "keywords list a.fax >&-",
                                    "merge new.fax a.fax a.fax",
                                    "split a.fax %d.fax"};
  for (const std::string command : {"extract a.fax ", "render a.fax "})
    for (const std::string format : {"tiff", "pdf", "png", "pbm"})
      for (const std::string out : {"/dev/full -f", "a.out -f"}) lines.push_back(command + out + format);
  for (const std::string &line : lines) {
    const ToolRun done = shell("ulimit -f 16; exec $tool " + line);
    EXPECT_EQ(done.status, 2) << line << done.err;
    EXPECT_THAT(done.err, HasSubstr("tolvane-fax: ")) << line;
    EXPECT_TRUE(bytes("a.fax") == before) << line;
    EXPECT_EQ(dir.entries(), 1) << line;
  }
}

// `script` gives the command a terminal. What a stranger has written into a header must do nothing there.
TEST_F(Faults, ATerminalShowsControlCharactersOfFilesAndNames) {
  const std::string subject = "\x1b]0;name\x07 \u009b gr\u00fcn",
                    header = "#PAGES:1\nRESOLUTION:1\nCOMPRESSION:3\nSUBJECT:" + subject;
  dir.write("a.fax", fax_bytes(header + "\n", {encoded_page(random_page(1, 4), 3)}));
  dir.write("\x1b[2J.fax", fax_bytes(header + "\n", {encoded_page(random_page(1, 5), 3)}));
  dir.write("x\na.fax", bytes("a.fax"));
  EXPECT_EQ(run("keywords get a.fax SUBJECT").out, subject + "\n");
  EXPECT_THAT(run("info $'\\e[2J.fax'").err, Not(HasSubstr("\x1b")));
  const std::pair<const char *, const char *> cases[] = {
      {"info a.fax", "  SUBJECT:\\x1b]0;name\\x07 \\xc2\\x9b gr\u00fcn\r\n"},
      {"keywords list a.fax", "SUBJECT:\\x1b]0;name\\x07 \\xc2\\x9b gr\u00fcn\r\n"},
      {"keywords get a.fax SUBJECT", "\\x1b]0;name\\x07 \\xc2\\x9b gr\u00fcn\r\n"},
      {"info --csv ?\\[2J.fax", "\n\\x1b[2J.fax,1,"},
      {"check ?\\[2J.fax", "\\x1b[2J.fax: good, 1 page, 5 lines\r\n"},
      {"compare a.fax ?\\[2J.fax", "; 4 lines and 5\r\n"},
      {"check *a.fax", "a.fax: good, 1 page, 4 lines\r\nx\\x0aa.fax: good"},
      {"repair -n ?\\[2J.fax", "\\x1b[2J.fax: nothing to repair\r\n"},
      {"append ?\\[2J.fax ?\\[2J.fax", "\\x1b[2J.fax: this is a fax file"},
  };
  for (const auto &[line, shown] : cases) {
    for (const std::string kind : {"dumb", "xterm"}) {
      const std::string text = shell("TERM=" + kind + " script -qec \"$tool " + line + "\" typescript").out;
      EXPECT_THAT(text, HasSubstr(shown)) << line;
      const bool has_message = std::string(line).starts_with("append");
      EXPECT_EQ(text.find('\x1b') != std::string::npos, has_message && kind == "xterm") << line << text;
    }
  }
}

// As `cat` and all others do.
TEST_F(Faults, AReaderThatHasSeenEnoughEndsTheCommandSilently) {
  dir.write("a.fax", fax_bytes("#PAGES:1\nRESOLUTION:1\nCOMPRESSION:3\n", {encoded_page(random_page(1, 2000), 3)}));
  for (const char *line : {"info $(yes a.fax | head -n 1000)", "extract a.fax - -f pbm"}) {
    const ToolRun done = shell(std::string("{ $tool ") + line + "; echo $? >status; } | head -n 1");
    EXPECT_TRUE(done.err.empty()) << done.err;
    EXPECT_EQ(bytes("status"), std::to_string(128 + SIGPIPE) + "\n") << line;
  }
}

// A file of the tool's own would take the place of a channel that is closed.
TEST_F(Faults, ClosedStandardChannelsStayOutOfTheFiles) {
  dir.write("bad.tif", spoilt(read_file(in_checkout("bench/charts/itu4.tif")), 1));
  EXPECT_EQ(run("create bad.fax bad.tif 2>&-").status, 3);
  EXPECT_EQ(shell("TMPDIR=bad.tif $tool create - bad.tif").status, 2) << "what is not complete stays out of the way";
  EXPECT_EQ(run("check bad.fax <&-").out.substr(0, 15), "bad.fax: good, ");
}

// What is written can be read, by the tool and the viewer; what could not is refused.
TEST_F(Faults, LongHeadersAreWholeOrRefused) {
  dir.write("b.fax", fax_bytes("#PAGES:1\nRESOLUTION:1\nCOMPRESSION:3\n", {encoded_page(random_page(1, 4), 3)}));
  const std::tuple<size_t, const char *, int> cases[] = {{9000, "include b.fax 1 1 a.fax", 0},
                                                         {12000, "include b.fax 1 1 a.fax", 2},
                                                         {12000, "convert --to mr a.fax", 0},
                                                         {12000, "append a.fax $charts/itu1.tif", 0},
                                                         {12000, "merge --force a.fax a.fax b.fax", 0}};
  for (const auto &[size, line, status] : cases) {
    shell("cp b.fax a.fax");
    ASSERT_EQ(run("keywords set a.fax SUBJECT=" + std::string(size, 'x')).status, 0);
    EXPECT_EQ(run("check a.fax").status, 0) << size;
    EXPECT_EQ(run(line).status, status) << line;
    EXPECT_EQ(run("check a.fax").status, 0) << line;
    EXPECT_EQ(run("render a.fax a.pbm").status, 0) << line;
  }
  complains("keywords set a.fax SUBJECT=" + std::string(33000, 'x'), 2, "longer than 32767 bytes");
  std::string names = "COMPRESSION:3\nSUBJECT:kept\n";
  for (int i = 0; i < 100000; ++i) names += "n" + std::to_string(i) + ":x\n";
  dir.write("names.fax", fax_bytes(names, {encoded_page(random_page(1, 4), 3)}));
  EXPECT_THAT(shell("ulimit -t 5; $tool extract names.fax n.tif && tiffinfo n.tif").out, HasSubstr("kept"));
}

TEST_F(Faults, TheTargetOfALinkIsReplaced) {
  ASSERT_EQ(shell("$tool create a.fax $charts/itu1.tif && chmod 640 a.fax && ln -s a.fax link.fax").status, 0);
  for (const char *line :
       {"keywords set link.fax SUBJECT=x", "convert --to mr link.fax", "append link.fax $charts/itu1.tif"}) {
    complains(line, 0, "");
    EXPECT_EQ(shell("readlink link.fax; stat -c %a a.fax").out, "a.fax\n640\n") << line;
  }
  EXPECT_EQ(run("check a.fax").out, "a.fax: good, 2 pages, 4753 lines\n");
  shell("ln -s new.fax dangling.fax");
  complains("create dangling.fax $charts/itu1.tif", 0, "");
  EXPECT_EQ(shell("readlink dangling.fax; $tool check new.fax").out, "new.fax\nnew.fax: good, 1 page, 2376 lines\n");
}

// Memory that an input is mapped to goes when the input is cut.
TEST_F(Faults, AnInputThatIsCutWhileItIsReadIsNamed) {
  shell(
      "convert $charts/itu4.tif pbm:1; for i in $(seq 60); do cat 1; done >in.pbm; rm 1; "
      "tiffcp $(yes $charts/itu4.tif | head -n 60) in.tif");
  const int entries = dir.entries();
  for (const std::string name : {"in.pbm", "in.tif"}) {
    ChildProcess child({in_build("tolvane-fax"), "create", "-j1", "out.fax", name}, {}, dir.string());
    const std::string maps = "/proc/" + std::to_string(child.pid()) + "/maps";
    for (int i = 0; i < 5000 && read_file(maps).find(name) == std::string::npos; ++i) usleep(1000);
    ASSERT_EQ(truncate(dir.path(name).c_str(), 100), 0);
    EXPECT_EQ(child.wait(), 2) << name;
    EXPECT_THAT(child.errors(), HasSubstr(name + ": ")) << name;
    EXPECT_EQ(dir.entries(), entries) << name;
  }
}

// Its records may have moved. A file that only loses its name to another one is read to its end.
TEST_F(Faults, AFaxThatIsChangedInPlaceWhileItIsReadIsNamed) {
  const std::string page = encoded_page(random_page(1, 4), 3), modes = "RESOLUTION:1\nCOMPRESSION:3\n";
  const std::string changed = "a.fax: the file has changed while it was read\n";
  const std::tuple<const char *, const char *, std::string> cases[] = {
      {"merge out.fax a.fax fifo", "printf x | dd of=a.fax bs=1 seek=60 conv=notrunc status=none", changed},
      {"merge out.fax a.fax fifo", "printf x >>a.fax", changed},
      {"merge --keep-going out.fax a.fax fifo", "printf x >>a.fax", changed},
      {"merge out.fax a.fax fifo", "cp a.fax new; mv new a.fax", ""},
  };
  for (const auto &[line, edit, complaint] : cases) {
    shell("rm -f *; mkfifo fifo");
    dir.write("a.fax", fax_bytes("#PAGES:2\n" + modes, {page, page}));
    const ToolRun done = shell("touch -d @1 a.fax; cp a.fax b.fax; $tool " + std::string(line) + " & exec 8>fifo; " +
                               edit + "; cat b.fax >&8; exec 8>&-; wait $!");
    EXPECT_EQ(done.status, complaint.empty() ? 0 : 2) << line << edit << done.err;
    EXPECT_THAT(done.err, HasSubstr(complaint)) << line << edit;
  }
  dir.write("a.fax", fax_bytes("#PAGES:20000\n" + modes, std::vector(20000, page)));
  const ToolRun check =
      shell("while touch a.fax; do :; done & $tool check --json a.fax; status=$?; kill $!; exit $status");
  EXPECT_EQ(check.status, 2) << check.err;
  EXPECT_EQ(check.out,
            "{\"schema\":1,\"file\":\"a.fax\",\"error\":\"a.fax: the file has changed while it was read\"}\n");
}

TEST_F(Faults, ASignalLeavesNoHalfMadeFile) {
  // Where files have no name until they are complete, there would be nothing to leave.
  ChildProcess child(
      {in_build("tolvane-fax"), "create", "out.fax", "-"},
      {"LD_PRELOAD=" + in_build("tests/libno_nameless_files.so"), "ASAN_OPTIONS=verify_asan_link_order=0"},
      dir.string());
  child.write("P4 1728 30000\n");
  for (int i = 0; i < 1000 && dir.entries() == 0; ++i) usleep(10000);
  ASSERT_EQ(dir.entries(), 1);
  child.kill(SIGTERM);
  EXPECT_EQ(child.wait(), 128 + SIGTERM);
  EXPECT_EQ(dir.entries(), 0);
}
