// Whole commands on documents of many pages made from the charts: tolvane-fax, on one thread and on all processors,
// against the tool for the same work. Wall time from the start of a process to its end; the runs of all come in turn,
// so that a drift of the machine falls on each, and the medians count.
//
//   command_bench [PAGES [TURNS]]
//
// The tables are in Markdown; a ratio that misses its target is bold.
#include <fcntl.h>
#include <glob.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <functional>
#include <sstream>
#include <string>
#include <vector>

namespace {

namespace fs = std::filesystem;
using Command = std::vector<std::string>;

constexpr int DEFAULT_PAGES = 160, DEFAULT_TURNS = 5;
constexpr int PARTS = 8;                                 // files to merge
constexpr int GROWTH_PAGES[] = {10, 100, 1000, 10'000};  // each ten times the one before
const std::string OURS = TOLVANE_BUILD_DIR "/tolvane-fax";

struct Usage {
  double seconds = 0;
  long peak_kilobytes = 0;
};

// In words of the directory of the documents: "pages.tif" and so on. The output goes to a directory that is emptied
// before every run.
struct Row {
  const char *work;
  const char *ours;                   // the arguments of tolvane-fax
  const char *theirs;                 // a whole command, with all it prints going to a file
  double one_thread, all_processors;  // ratios to reach, 0 for none
};
// tiff2pdf copies the code of a page unless -n makes it code the page again, as the other tools do.
constexpr Row ROWS[] = {
    {"create from G4 TIFF", "create out/new.fax pages.tif", "tiffcp -c g4 pages.tif out/new.tif", 0.55, 0.35},
    {"create from PDF", "create out/new.fax pages.pdf", "pdftoppm -mono pages.pdf out/new", 0.05, 0.03},
    {"extract to TIFF G4", "extract pages.fax out/new.tif", "tiffcp -c g4 pages.tif out/new.tif", 0.5, 0.3},
    {"extract to PDF", "extract pages.fax out/new.pdf", "tiff2pdf -n -o out/new.pdf pages.tif", 0.5, 0.3},
    {"extract to PBM", "extract pages.fax out/new.pbm", "tifftopnm pages.tif", 0.12, 0.1},
    {"check", "check pages.fax", "tiffinfo -D pages.tif", 0.8, 0.45},
    {"check, a page a file", "check @one/*.fax", "tiffinfo -D @one/*.tif", 0.8, 0.45},
    {"info without decoding", "info --no-decode pages.fax", "tiffinfo pages.tif", 1.5, 0},
    {"the same, a page a file", "info --no-decode @one/*.fax", "tiffinfo @one/*.tif", 1.5, 0},
    {"convert MMR to MH", "convert --to mh out/copy.fax", "tiffcp -c g3 pages.tif out/new.tif", 0.5, 0.3},
    {"merge", "merge out/new.fax @part?.fax", "tiffcp @part?.tif out/new.tif", 0.35, 0.2},
    {"split", "split pages.fax out/%d.fax", "tiffsplit pages.tif out/", 3, 0},
    {"start", "--version", "tiffinfo page.tif", 1.5, 0},
};

std::string scratch;  // for all files: a directory; empty before it is made

void remove_directory() {
  std::error_code ignored;
  fs::current_path("/", ignored);
  if (!scratch.empty()) fs::remove_all(scratch, ignored);
}

[[noreturn]] void give_up(const std::string &what) {
  fprintf(stderr, "command_bench: %s failed\n", what.c_str());
  remove_directory();
  exit(1);
}

// The words of a text; "@part?.tif" are all files of such names.
Command words_of(const std::string &text) {
  Command words;
  std::istringstream in(text);
  for (std::string word; in >> word;) {
    glob_t files = {};
    if (word[0] != '@')
      words.push_back(word);
    else if (glob(word.c_str() + 1, 0, nullptr, &files) == 0)
      words.insert(words.end(), files.gl_pathv, files.gl_pathv + files.gl_pathc);
    globfree(&files);
  }
  return words;
}

Usage run(Command command) {
  std::vector<char *> arguments;
  for (std::string &word : command) arguments.push_back(word.data());
  arguments.push_back(nullptr);
  const auto start = std::chrono::steady_clock::now();
  const pid_t child = fork();
  if (child == 0) {
    const int printed = open("printed", O_WRONLY | O_CREAT | O_TRUNC, 0644);
    dup2(printed, STDOUT_FILENO);
    dup2(printed, STDERR_FILENO);
    execvp(arguments[0], arguments.data());
    _exit(127);
  }
  int status = 0;
  rusage used{};
  if (child < 0 || wait4(child, &status, 0, &used) != child || status != 0) give_up(command[0] + " " + command[1]);
  return {std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count(), used.ru_maxrss};
}

Command ours(const std::string &arguments, const char *jobs = nullptr) {
  Command command = words_of(arguments);
  if (jobs) command.insert(command.begin(), {"-j", jobs});
  command.insert(command.begin(), {OURS, "-q"});
  return command;
}

bool is_installed(const std::string &tool) {
  std::istringstream path(getenv("PATH") ? getenv("PATH") : "");
  for (std::string directory; std::getline(path, directory, ':');)
    if (access((directory + "/" + tool).c_str(), X_OK) == 0) return true;
  return false;
}

void make_tiff(const std::string &name, int pages) {
  Command command = {"tiffcp", "-c", "g4"};
  for (int page = 0; page < pages; ++page)
    command.push_back(std::string(TOLVANE_SOURCE_DIR "/bench/charts/itu") + "1457"[page % 4] + ".tif");
  command.push_back(name);
  run(command);
}

void make_documents(int pages) {
  make_tiff("page.tif", 1);
  make_tiff("pages.tif", pages);
  run(words_of("tiff2pdf -x 204 -y 196 -o pages.pdf pages.tif"));  // fax pages, not scans of 300 per inch
  run(ours("create pages.fax pages.tif"));
  for (int part = 0; part < PARTS; ++part) {
    const std::string stem = "part" + std::to_string(part);
    make_tiff(stem + ".tif", std::max(pages / PARTS, 1));
    run(ours("create " + stem + ".fax " + stem + ".tif"));
  }
  fs::create_directory("one");
  run(words_of("tiffsplit pages.tif one/"));
  run(ours("split pages.fax one/%d.fax"));
}

// Runs of one command in all turns.
struct Runs {
  std::vector<double> seconds;
  long peak_kilobytes = 0;

  void add(const Command &command) {
    fs::remove_all("out");
    fs::create_directory("out");
    fs::copy_file("pages.fax", "out/copy.fax");
    const Usage used = run(command);
    seconds.push_back(used.seconds);
    peak_kilobytes = std::max(peak_kilobytes, used.peak_kilobytes);
  }

  double median() {
    const auto middle = seconds.begin() + static_cast<std::ptrdiff_t>(seconds.size() / 2);
    std::nth_element(seconds.begin(), middle, seconds.end());
    return *middle;
  }
};

void print_ratio(double ratio, double target) {
  const char *missed = target > 0 && ratio > target ? "**" : "";
  printf(" %s%.2f%s |", missed, ratio, missed);
  if (target == 0)
    printf(" - |");
  else
    printf(" %.2f |", target);
}

void compare(const Row &row, int turns) {
  const Command theirs = words_of(row.theirs);
  if (!is_installed(theirs[0])) {
    printf("| %s | %s: not installed |\n", row.work, theirs[0].c_str());
    return;
  }
  Runs one, all, peer;
  for (int turn = 0; turn < turns; ++turn) {
    one.add(ours(row.ours, "1"));
    peer.add(theirs);
    all.add(ours(row.ours));
  }
  printf("| %s | %s | %.3f |", row.work, theirs[0].c_str(), peer.median());
  print_ratio(one.median() / peer.median(), row.one_thread);
  print_ratio(all.median() / peer.median(), row.all_processors);
  printf(" %ld | %ld |\n", all.peak_kilobytes, peer.peak_kilobytes);
  fflush(stdout);
}

// Time and memory for each page of documents that differ in nothing but their length.
void print_growth(int turns) {
  printf("\n| Pages | Check, us a page | Last page, us | To PDF, us a page | To PDF, KB |\n|---|---|---|---|---|\n");
  run(words_of("tiffcp -c g4 page.tif grown.tif"));
  run(ours("create grown.fax page.tif"));
  for (const int pages : GROWTH_PAGES) {
    Command merge = {OURS, "-q", "merge", "--force", "next.fax"};
    merge.insert(merge.end(), 10, "grown.fax");
    run(merge);
    fs::rename("next.fax", "grown.fax");
    Runs check, last, to_pdf;
    for (int turn = 0; turn < std::min(turns, pages < 10'000 ? turns : 1); ++turn) {
      check.add(ours("check grown.fax"));
      last.add(ours("extract -p z grown.fax out/new.pbm"));
      to_pdf.add(ours("extract grown.fax out/new.pdf"));
    }
    const double scale = 1e6 / pages;
    printf("| %d | %.0f | %.0f | %.0f | %ld |\n", pages, check.median() * scale, last.median() * 1e6,
           to_pdf.median() * scale, to_pdf.peak_kilobytes);
    fflush(stdout);
  }
}

}  // namespace

int main(int argc, char **argv) {
  const int pages = argc > 1 ? std::max(atoi(argv[1]), 1) : DEFAULT_PAGES;
  const int turns = argc > 2 ? std::max(atoi(argv[2]), 1) : DEFAULT_TURNS;
  for (const char *tool : {"tiffcp", "tiff2pdf", "tiffsplit"}) {
    if (is_installed(tool)) continue;
    printf("commands: skipped: %s is not installed\n", tool);
    return 0;
  }
  std::string name = fs::temp_directory_path() / "command_bench-XXXXXX";
  if (!mkdtemp(name.data())) give_up("making a directory");
  scratch = name;
  if (chdir(scratch.c_str()) != 0) give_up("changing the directory");
  make_documents(pages);
  printf(
      "\n| Work | Peer | Its time, s | One thread | To reach | All processors | To reach | Memory, KB | Its memory |\n"
      "|---|---|---|---|---|---|---|---|---|\n");
  for (const Row &row : ROWS) compare(row, turns);
  print_growth(turns);
  remove_directory();
  return 0;
}
