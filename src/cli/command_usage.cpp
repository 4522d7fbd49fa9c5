// The parser sees a value that the caller stores as a function that takes a word, so that the help can describe the
// word as it is.
#include "cli/command_usage.h"

#include <CLI/CLI.hpp>
#include <charconv>

namespace tolvane {
namespace {
[[gnu::used]] const char SCCS_ID[] = "@(#)|command_usage|9|01|3|0|0|11/23/26|12:21:28";
}

const Option &Option::required(bool yes) const {
  option_->required(yes);
  return *this;
}

const Option &Option::type_name(const std::string &name) const {
  option_->type_name(name);
  return *this;
}

const Option &Option::range(int32_t low, int32_t high) const {
  // The parser would read a number that begins with 0 as octal.
  const auto to_plain_decimal = [low, high](std::string &text) -> std::string {
    int32_t number = 0;
    const char *end = text.data() + text.size();
    const auto [parsed, fault] = std::from_chars(text.data(), end, number);
    if (fault != std::errc() || parsed != end || number < low || number > high)
      return "Value " + text + " not in range " + std::to_string(low) + " to " + std::to_string(high);
    text = std::to_string(number);
    return "";
  };
  option_->transform(CLI::Validator(to_plain_decimal, ""));
  return *this;
}

const Option &Option::check(const std::function<std::string(const std::string &)> &complaint) const {
  option_->check(complaint);
  return *this;
}

const Option &Option::needs(const Option &other) const {
  option_->needs(other.option_);
  return *this;
}

const Option &Option::excludes(const Option &other) const {
  option_->excludes(other.option_);
  return *this;
}

const Option &Option::delimiter(char character) const {
  option_->delimiter(character);
  return *this;
}

const Option &Option::one_word_each() const {
  option_->allow_extra_args(false);
  return *this;
}

Option Usage::add_option(const std::string &names, std::string &target, const std::string &help) {
  return Option(parser_.add_option(names, target, help));
}

Option Usage::add_option(const std::string &names, int32_t &target, const std::string &help) {
  return Option(parser_.add_option(names, target, help));
}

Option Usage::add_option(const std::string &names, std::vector<std::string> &target, const std::string &help) {
  return Option(parser_.add_option(names, target, help));
}

Option Usage::add_option(const std::string &names, std::vector<int32_t> &target, const std::string &help) {
  return Option(parser_.add_option(names, target, help));
}

Option Usage::add_flag(const std::string &names, bool &target, const std::string &help) {
  return Option(parser_.add_flag(names, target, help));
}

Option Usage::add_parsed(const std::string &names, const std::function<std::string(const std::string &)> &store,
                         const std::string &help) {
  const auto store_one = [store, names](const CLI::results_t &given) {
    if (const std::string fault = store(given[0]); !fault.empty()) throw CLI::ValidationError(names, fault);
    return true;
  };
  return Option(parser_.add_option(names, store_one, help)->type_size(1));
}

// The parser gives all operands to a list that comes first.
void Usage::add_operands(const std::string &names, std::vector<std::string> &target, const std::string &help,
                         const std::string &last_name, std::string &last, const std::string &last_help) {
  CLI::App &parser = parser_;
  const auto store = [&parser, &target, last_name](const CLI::results_t &given) {
    target.assign(given.begin(), given.end() - 1);
    parser.get_option(last_name)->add_result(given.back());
    return true;
  };
  parser_.add_option(names, store, help)
      ->type_size(1)
      ->expected(1, CLI::detail::expected_max_vector_size)
      ->allow_extra_args()
      ->type_name("TEXT")
      ->required();
  parser_.add_option(last_name, last, last_help)->required();
}

Usage Usage::add_subcommand(const std::string &name, const std::string &summary, const std::function<void()> &chosen) {
  parser_.require_subcommand(1);
  CLI::App *parser = parser_.add_subcommand(name, summary);
  parser->callback(chosen);
  return Usage(*parser);
}

void Usage::add_footer(const std::string &text) {
  parser_.footer(text + "\n\n" + parser_.get_footer());
}

}  // namespace tolvane
