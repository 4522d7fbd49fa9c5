// The options and operands of a command. The parser under them (CLI11) takes seconds to compile, so only
// command_usage.cpp and the few that walk the parser itself include it.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace CLI {
class App;
class Option;
}  // namespace CLI

namespace tolvane {

/// An option or operand that was added to a `Usage`. The operations return it, so that they can be chained.
class Option {
 public:
  explicit Option(CLI::Option *option) : option_(option) {}

  const Option &required(bool yes = true) const;
  /// @param name  what the help shows for the value, for instance "N" or "mh|mr|mmr"
  const Option &type_name(const std::string &name) const;
  /// Values are decimal numbers from `low` to `high`, with or without leading zeros. Every option of an int32_t has a
  /// range.
  const Option &range(int32_t low, int32_t high) const;
  /// @param complaint  returns what is wrong with a value, empty if nothing is
  const Option &check(const std::function<std::string(const std::string &)> &complaint) const;
  const Option &needs(const Option &other) const;
  const Option &excludes(const Option &other) const;
  /// A list is given as one word, with this character between its values.
  const Option &delimiter(char character) const;
  /// A list takes one word each time the option is given, not all words up to the next option.
  const Option &one_word_each() const;

 private:
  CLI::Option *option_;
};

/// What a command line may contain. Targets are the caller's variables: a parse stores values in them.
class Usage {
 public:
  explicit Usage(CLI::App &parser) : parser_(parser) {}

  /// Adds an option ("-p,--pages") or an operand ("FILE").
  Option add_option(const std::string &names, std::string &target, const std::string &help);
  Option add_option(const std::string &names, int32_t &target, const std::string &help);
  Option add_option(const std::string &names, std::vector<std::string> &target, const std::string &help);
  Option add_option(const std::string &names, std::vector<int32_t> &target, const std::string &help);
  Option add_flag(const std::string &names, bool &target, const std::string &help);
  /// Adds an option whose value the caller stores.
  ///
  /// @param store  stores a value; returns what is wrong with it, empty if nothing is
  Option add_parsed(const std::string &names, const std::function<std::string(const std::string &)> &store,
                    const std::string &help);

  /// Adds operands of which the last one is another: FILE... OUT.
  ///
  /// @param target, last  receive them
  void add_operands(const std::string &names, std::vector<std::string> &target, const std::string &help,
                    const std::string &last_name, std::string &last, const std::string &last_help);

  /// Adds a command below this one, one of which must be given.
  ///
  /// @param chosen  called when it is the one
  Usage add_subcommand(const std::string &name, const std::string &summary, const std::function<void()> &chosen);
  /// Adds text to the end of the help, before what is there.
  void add_footer(const std::string &text);

  CLI::App &parser() const { return parser_; }

 private:
  CLI::App &parser_;
};

}  // namespace tolvane
