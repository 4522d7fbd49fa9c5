// `keywords`: only the lines of the name given change, whatever else holds that name.
#include "helpers/fax_bytes.h"
#include "helpers/fax_tool.h"

using Keywords = ToolTest;

namespace {
const std::string front = "SENDER_ADDRESS2:b\nINCLUDE_PAGES:0\n", subject = "SUBJECT:old DATE:\n",
                  folders = "FOLDERS:a\rb\n";
const std::string dates = "DATE:1\nno colon\nDATE:2\n", address = "SENDER_ADDRESS:a\n";
const std::string header = front + subject + folders + dates + address;
const std::vector<std::string> records = {"first", std::string(70000, 'x')};
}  // namespace

TEST_F(Keywords, EditsTouchTheLinesOfTheirNameAlone) {
  dir.write("from.fax", fax_bytes("#PAGES:9\nDATE:new\nSALUTATION:Hi\nDATE:newer\nRESOLUTION:1\nno colon\nSUBJECT\n"));
  const std::pair<std::string, std::string> cases[] = {
      {"set f DATE=3", front + subject + folders + "DATE:3\nno colon\n" + address},
      {"set f 'SUBJECT=two\nlines' SENDER_CITY=",
       front + "SUBJECT:two\rlines\n" + folders + dates + address + "SENDER_CITY:\n"},
      {"add f DATE=x=y:z DATE=", header + "DATE:x=y:z\nDATE:\n"},
      {"delete f SENDER_ADDRESS FOLDERS", front + subject + dates},
      {"copy f --from from.fax",
       front + subject + folders + address + "DATE:new\nSALUTATION:Hi\nDATE:newer\nno colon\nSUBJECT\n"},
      {"copy f --from from.fax SALUTATION", header + "SALUTATION:Hi\n"},
  };
  for (const auto &[words, after] : cases) {
    dir.write("f", fax_bytes(header, records) + "cut");
    complains("keywords " + words, 0, "");
    EXPECT_TRUE(bytes("f") == fax_bytes(after, records) + "cut") << words;
    EXPECT_EQ(dir.entries(), 2);
  }
}

TEST_F(Keywords, ValuesArePrintedWithTheirLineBreaks) {
  const std::string fax = fax_bytes(header, records);
  EXPECT_EQ(run("keywords list -", fax).out, front + subject + "FOLDERS:a\n\tb\n" + dates + address);
  EXPECT_EQ(run("keywords get - DATE FOLDERS", fax).out, "1\n2\na\nb\n");
  EXPECT_EQ(run("keywords get - SALUTATION", fax).status, 2);
}

TEST_F(Keywords, NamesBeforeFilesGiveTheValuesOfEachFile) {
  dir.write("a", fax_bytes(header));
  dir.write("SUBJECT", fax_bytes("SUBJECT:\"x\"\xff\n"));
  const std::string several = "a\tDATE\t1\na\tDATE\t2\na\tFOLDERS\ta\\nb\n", other = "./SUBJECT\tSUBJECT\t\"x\"\xff\n";
  const std::tuple<std::string, int, std::string> cases[] = {
      {"keywords get DATE FOLDERS a", 0, several},
      {"keywords get DATE FOLDERS ./SUBJECT gone a", 2, several},
      {"keywords get DATE SUBJECT ./SUBJECT", 0, other},
      {"keywords get SUBJECT SUBJECT", 0, "\"x\"\xff\n"},
      {"keywords get SUBJECT", 1, ""},
      {"keywords get a SUBJECT --files-from list", 1, ""},
      {"keywords get DATE FOLDERS -0 --files-from list", 2, several},
      {"keywords get a DATE --json", 0,
       R"({"schema":1,"file":"a","values":{"DATE":["1","2"]}})"
       "\n"},
      {"keywords get --json FOLDERS a gone ./SUBJECT", 2,
       R"({"schema":1,"file":"a","values":{"FOLDERS":["a\nb"]}})"
       "\n"
       R"({"schema":1,"file":"gone","error":"gone: No such file or directory"})"
       "\n"
       R"({"schema":1,"file":"./SUBJECT","values":{"FOLDERS":[]}})"
       "\n"},
  };
  dir.write("list", std::string("gone\0a\0", 7));
  for (const auto &[line, status, out] : cases) {
    const ToolRun done = run(line);
    EXPECT_EQ(done.status, status) << line << done.err;
    EXPECT_EQ(done.out, out) << line;
  }
}

TEST_F(Keywords, WhatReadersCouldNotReadIsRefused) {
  std::string many;
  for (int i = 0; i < 90; ++i) many += "KEYWORDS:" + std::to_string(i) + "\n";
  const std::string before = fax_bytes(header + "INCLUDE:a.fax 3 1\n" + many, records);
  dir.write("f", before);
  const std::tuple<std::string, int, const char *> cases[] = {
      {"set f PAGES=1", 1, "PAGES"},
      {"set f RESOLUTION=2", 1, "RESOLUTION takes"},
      {"set f 'INCLUDE=a.fax 1'", 1, "INCLUDE takes"},
      {"set f 'SUBJECT=see INCLUDE:b.fax 1 1'", 2, "INCLUDE:"},
      {"add --force f 'INCLUDE=b.fax 2 1'", 2, "out of order"},
      {"set f '#PAGES=9'", 1, "#PAGES says how pages are read"},
      {"delete f DATE COMPRESSION", 1, "COMPRESSION says how pages are read"},
      {"set f 'SUBJECT=\x1d'", 2, "byte 29"},
      {"add f 'DATE=the hundredth line'", 2, "99"},
      {"set f SUBJECT=" + std::string(10000, 'x'), 2, "10000"},
  };
  for (const auto &[words, status, complaint] : cases) {
    complains("keywords " + words, status, complaint);
    EXPECT_TRUE(bytes("f") == before);
    EXPECT_EQ(dir.entries(), 1);
  }
}

TEST_F(Keywords, EditorsAtTheSameTimeLoseNothingOfEachOther) {
  dir.write("f", fax_bytes("SUBJECT:s\n", {"one"}));
  std::string edits;
  for (int i = 10; i < 30; ++i) edits += "$tool keywords add f DATE=" + std::to_string(i) + " & ";
  EXPECT_EQ(shell(edits + "wait").err, "");
  const std::string header = parts("f").header;
  for (int i = 10; i < 30; ++i) EXPECT_NE(header.find("DATE:" + std::to_string(i) + "\n"), std::string::npos) << header;
}
