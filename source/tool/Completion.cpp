#include "tool/Completion.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fmt/format.h>
#include <fstream>
#include <kvex/File.h>
#include <optional>
#include <set>
#include <stdexcept>
#include <sys/mman.h>
#include <unistd.h>
#include <utility>

#include "tool/Text.h"

namespace Kvex::Tool {

namespace {

namespace fs = std::filesystem;

constexpr std::string_view kChoicesMark = "choices:";
constexpr std::chrono::milliseconds kPatience{1000};
constexpr std::uintmax_t kHead = 8 << 20;  ///< Bytes that are read of a large file.

enum class ValueKind { None, Signals, Streams, Files, Choices };

std::vector<std::string> choicesOf(CLI::Option& option) {
  try {
    std::string_view name = option.get_validator(0)->get_name();
    if (!name.starts_with(kChoicesMark)) return {};
    name.remove_prefix(kChoicesMark.size());
    return CLI::detail::split(std::string(name), ',');
  } catch (const CLI::OptionNotFound&) {
    return {};
  }
}

ValueKind kindOf(CLI::Option& option) {
  static const std::map<std::string, ValueKind> kinds{
      {"PATTERN", ValueKind::Signals}, {"GLOB", ValueKind::Signals}, {"SIGNAL", ValueKind::Signals},
      {"ID", ValueKind::Streams},      {"OUT", ValueKind::Files},
  };
  if (!choicesOf(option).empty()) return ValueKind::Choices;
  if (option.get_positional()) return ValueKind::Files;
  const auto kind = kinds.find(option.get_type_name());
  return kind == kinds.end() ? ValueKind::None : kind->second;
}

bool takesValue(const CLI::Option& option) {
  return option.get_items_expected_max() > 0;
}

bool isOption(std::string_view word) {
  return word.size() > 1 && word.front() == '-';
}

CLI::Option* findOption(const CLI::App& command, const std::string& name) {
  for (const CLI::Option* option : command.get_options()) {
    if (!option->get_positional() && option->check_name(name)) return const_cast<CLI::Option*>(option);
  }
  return nullptr;
}

CLI::App* findCommand(CLI::App& app, const std::string& name) {
  const std::vector<CLI::App*> found =
      app.get_subcommands([&](CLI::App* command) { return command->get_name() == name; });
  return found.empty() ? nullptr : found.front();
}

/// Lower case of ASCII.
std::string lowerCase(std::string_view text) {
  std::string lower(text);
  for (char& c : lower) c = c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
  return lower;
}

/// Those candidates that begin with a text; in any letter case if there are none in its own.
std::vector<Candidate> beginningWith(const std::string& text, const std::vector<Candidate>& candidates) {
  std::vector<Candidate> result;
  const auto take = [&](const auto& begins) { std::ranges::copy_if(candidates, std::back_inserter(result), begins); };
  take([&](const Candidate& candidate) { return candidate.word.starts_with(text); });
  if (!result.empty()) return result;
  const std::string lower = lowerCase(text);
  take([&](const Candidate& candidate) { return lowerCase(candidate.word).starts_with(lower); });
  return result;
}

/// Where the last item of a list with commas begins; a comma in brackets parts nothing.
std::size_t lastItem(std::string_view list) {
  std::size_t begin = 0;
  int depth = 0;
  for (std::size_t at = 0; at < list.size(); ++at) {
    if (list[at] == '[') ++depth;
    if (list[at] == ']') --depth;
    if (list[at] == ',' && depth <= 0) begin = at + 1;
  }
  return begin;
}

/// Candidates for a value that may be a list with commas.
std::vector<Candidate> completeItem(const std::string& value, const std::vector<Candidate>& candidates) {
  std::vector<Candidate> result = beginningWith(value, candidates);
  const std::size_t begin = lastItem(value);
  if (!result.empty() || begin == 0) return result;
  result = beginningWith(value.substr(begin), candidates);
  for (Candidate& candidate : result) candidate.word.insert(0, value, 0, begin);
  return result;
}

std::string describe(const Signal& signal) {
  const std::string unit = signal.unit().empty() ? "" : fmt::format("[{}] ", signal.unit());
  return unit + signal.description();
}

/// Names, those with the stream in front where a word begins like it, and elements where it has a bracket.
std::vector<Candidate> signalCandidates(const FileFacts& facts, const std::string& value) {
  const std::string item = value.substr(lastItem(value));
  const bool qualified = !item.empty() && item.front() >= '0' && item.front() <= '9';
  const bool element = item.find('[') != std::string::npos;
  std::vector<Candidate> candidates;
  std::set<std::string> seen;
  const auto add = [&](const std::string& name, const Signal& signal) {
    if (seen.insert(name).second) candidates.push_back({name, describe(signal)});
  };
  const auto addBoth = [&](const Signal& signal) {
    add(signal.name(), signal);
    if (qualified) add(signal.qualifiedName(), signal);
  };
  for (const Signal& signal : facts.signals) {
    addBoth(signal);
    for (std::uint32_t i = 0; element && signal.isArray() && i < signal.count(); ++i) addBoth(signal.at(i));
  }
  return candidates;
}

std::vector<Candidate> commandCandidates(const CLI::App& app) {
  std::vector<Candidate> candidates;
  for (const CLI::App* command : app.get_subcommands([](const CLI::App*) { return true; })) {
    candidates.push_back({command->get_name(), command->get_description()});
  }
  return candidates;
}

std::vector<Candidate> optionCandidates(const CLI::App& app) {
  std::vector<Candidate> candidates;
  for (const CLI::Option* option : app.get_options()) {
    for (const std::string& name : option->get_lnames()) candidates.push_back({"--" + name, option->get_description()});
  }
  return candidates;
}

std::string withHome(const std::string& path) {
  const char* const home = std::getenv("HOME");
  return path.starts_with("~/") && home != nullptr ? home + path.substr(1) : path;
}

/// The words of a command that name files.
std::vector<std::string> positionals(const CLI::App& command, const std::vector<std::string>& words,
                                     std::size_t current) {
  std::vector<std::string> result;
  for (std::size_t at = 1; at < words.size(); ++at) {
    if (isOption(words[at])) {
      const CLI::Option* option = findOption(command, words[at]);
      if (option != nullptr && takesValue(*option)) ++at;
    } else if (at != current) {
      result.push_back(withHome(words[at]));
    }
  }
  return result;
}

FileFacts lookAtFirst(const std::vector<std::string>& paths, const FileLookup& lookup) {
  for (const std::string& path : paths) {
    FileFacts facts = lookup(path);
    if (!facts.streams.empty()) return facts;
  }
  return {};
}

Completion completeValue(CLI::Option& option, const std::string& value, const std::function<FileFacts()>& facts) {
  switch (kindOf(option)) {
    case ValueKind::Signals:
      return {false, completeItem(value, signalCandidates(facts(), value))};
    case ValueKind::Streams:
      return {false, completeItem(value, facts().streams)};
    case ValueKind::Files:
      return {true, {}};
    case ValueKind::Choices: {
      std::vector<Candidate> choices;
      for (std::string& choice : choicesOf(option)) choices.push_back({std::move(choice), ""});
      return {false, completeItem(value, choices)};
    }
    case ValueKind::None:
      break;
  }
  return {};
}

/// The option of which the current word is the value, or the option and its value as one word.
struct OptionValue {
  CLI::Option* option = nullptr;
  std::string lead;  ///< What of the word is no value: "--signal=".
};

std::optional<OptionValue> optionOf(const CLI::App& command, const std::vector<std::string>& words,
                                    std::size_t current) {
  const std::string& word = words[current];
  if (const std::size_t equals = word.find('='); isOption(word) && equals != std::string::npos) {
    CLI::Option* option = findOption(command, word.substr(0, equals));
    if (option != nullptr) return OptionValue{option, word.substr(0, equals + 1)};
  }
  if (current < 2 || !isOption(words[current - 1])) return std::nullopt;
  CLI::Option* option = findOption(command, words[current - 1]);
  if (option == nullptr || !takesValue(*option)) return std::nullopt;
  return OptionValue{option, ""};
}

Completion completeArgument(CLI::App& command) {
  for (const CLI::Option* option : command.get_options()) {
    if (!option->get_positional()) continue;
    auto* positional = const_cast<CLI::Option*>(option);
    if (!choicesOf(*positional).empty()) return completeValue(*positional, "", [] { return FileFacts(); });
  }
  return {true, {}};
}

bool isTooLate(std::chrono::steady_clock::time_point begin) {
  return std::chrono::steady_clock::now() - begin > kPatience;
}

FileFacts factsOf(const std::string& path) {
  const auto begin = std::chrono::steady_clock::now();
  OpenOptions options;
  options.progress = [begin](const Progress&) {
    if (isTooLate(begin)) throw std::runtime_error("it takes too long");
  };
  const File file(path, options);
  FileFacts facts{file.signals(), {}};
  for (const Stream& stream : file.streams()) {
    facts.streams.push_back({std::to_string(stream.id()), fmt::format("{} {}", stream.codec(), stream.name())});
  }
  return facts;
}

/// The beginning of a file as a file of its own, in memory, under a name with the same ending.
class HeadOfFile {
 public:
  explicit HeadOfFile(const std::string& path) : descriptor_(::memfd_create("head", MFD_CLOEXEC)) {
    std::ifstream file(path, std::ios::binary);
    std::array<char, 0x10000> piece{};
    for (std::uintmax_t left = kHead; left > 0 && file; left -= std::min<std::uintmax_t>(left, piece.size())) {
      file.read(piece.data(), piece.size());
      if (::write(descriptor_, piece.data(), static_cast<std::size_t>(file.gcount())) < 0) return;
    }
    std::string folder = (fs::temp_directory_path() / "vrel-XXXXXX").string();
    if (::mkdtemp(folder.data()) == nullptr) return;
    folder_ = folder;
    path_ = folder + "/head" + lowerExtension(path);
    std::error_code ignored;
    fs::create_symlink(fmt::format("/proc/{}/fd/{}", ::getpid(), descriptor_), path_, ignored);
  }
  ~HeadOfFile() {
    std::error_code ignored;
    if (!folder_.empty()) fs::remove_all(folder_, ignored);
    if (descriptor_ >= 0) ::close(descriptor_);
  }
  HeadOfFile(const HeadOfFile&) = delete;
  HeadOfFile& operator=(const HeadOfFile&) = delete;

  const std::string& path() const { return path_; }

 private:
  int descriptor_;
  std::string folder_;
  std::string path_;
};

bool hasControl(std::string_view text) {
  return std::ranges::any_of(text, [](char c) { return static_cast<unsigned char>(c) < 0x20 || c == 0x7F; });
}

std::string answerText(const Completion& completion, const std::function<std::string(const Candidate&)>& line) {
  if (completion.files) return "files\n";
  std::string answer = "words\n";
  for (const Candidate& candidate : completion.candidates) {
    if (!hasControl(candidate.word)) answer += line(candidate) + '\n';
  }
  return answer;
}

std::string answerBash(CLI::App& app, const std::string& breaks, const std::string& before, const std::string& behind,
                       const FileLookup& lookup) {
  const std::vector<ShellWord> typed = splitShellLine(before, breaks);
  std::vector<std::string> words;
  words.reserve(typed.size());
  for (const ShellWord& word : typed) words.push_back(word.text);
  if (words.size() < 2) return {};
  const std::size_t current = words.size() - 1;
  for (const ShellWord& word : splitShellLine(behind, breaks)) words.push_back(word.text);
  words.erase(words.begin());
  return answerText(complete(app, words, current - 1, lookup),
                    [&](const Candidate& candidate) { return bashInsertion(typed.back(), candidate.word); });
}

}  // namespace

CLI::Validator oneOf(const std::vector<std::string>& values) {
  return CLI::IsMember(values).description("").name(std::string(kChoicesMark) + CLI::detail::join(values, ","));
}

Completion complete(CLI::App& app, const std::vector<std::string>& words, std::size_t current,
                    const FileLookup& lookup) {
  if (current >= words.size()) return {};
  const std::string& word = words[current];
  if (current == 0) {
    return {false, beginningWith(word, word.starts_with('-') ? optionCandidates(app) : commandCandidates(app))};
  }
  CLI::App* const command = findCommand(app, words.front());
  if (command == nullptr) return {true, {}};
  if (const auto value = optionOf(*command, words, current)) {
    const auto facts = [&] { return lookAtFirst(positionals(*command, words, current), lookup); };
    Completion completion = completeValue(*value->option, word.substr(value->lead.size()), facts);
    for (Candidate& candidate : completion.candidates) candidate.word.insert(0, value->lead);
    return completion;
  }
  if (word.starts_with('-')) return {false, beginningWith(word, optionCandidates(*command))};
  Completion completion = completeArgument(*command);
  completion.candidates = beginningWith(word, completion.candidates);
  return completion;
}

FileFacts lookQuickly(const std::string& path) {
  std::error_code error;
  if (!fs::is_regular_file(path, error)) return {};
  try {
    if (fs::file_size(path) <= kHead) return factsOf(path);
    const HeadOfFile head(path);
    return factsOf(head.path());
  } catch (const std::exception&) {
    return {};
  }
}

std::vector<ShellWord> splitShellLine(std::string_view line, std::string_view breaks) {
  std::vector<ShellWord> words;
  bool inWord = false;
  const auto word = [&]() -> ShellWord& {
    if (!std::exchange(inWord, true)) words.emplace_back();
    return words.back();
  };
  for (std::size_t at = 0; at < line.size(); ++at) {
    const char c = line[at];
    const char quote = inWord ? words.back().quote : '\0';
    if (c == '\\' && quote != '\'' && at + 1 < line.size()) {
      const char next = line[++at];
      // Between double quotes a backslash stands for itself but before these.
      const bool kept = quote == '"' && std::string_view("\"\\$`").find(next) == std::string_view::npos;
      if (kept) word().text += c;
      word().text += next;
    } else if (quote != '\0') {
      if (c == quote) {
        word().quote = '\0';
      } else {
        word().text += c;
      }
    } else if (c == '"' || c == '\'') {
      word().quote = c;
      word().replaceAt = word().text.size();
    } else if (c == ' ' || c == '\t' || c == '\n') {
      inWord = false;
    } else {
      word().text += c;
      if (breaks.find(c) != std::string_view::npos) word().replaceAt = word().text.size();
    }
  }
  if (!inWord) words.emplace_back();
  return words;
}

std::string bashInsertion(const ShellWord& word, std::string_view replacement) {
  constexpr std::string_view kPlain = "%+,-./:=@_^";
  std::string result;
  for (const char c : replacement.substr(std::min(word.replaceAt, replacement.size()))) {
    const auto byte = static_cast<unsigned char>(c);
    const bool isPlain = byte >= 0x80 || std::isalnum(byte) != 0 || kPlain.find(c) != std::string_view::npos;
    if (word.quote == '\'') {
      result += c == '\'' ? "'\\''" : std::string(1, c);
      continue;
    }
    if (word.quote == '"' ? std::string_view("\"\\$`").find(c) != std::string_view::npos : !isPlain) result += '\\';
    result += c;
  }
  return result;
}

std::string answerCompletion(CLI::App& app, const std::vector<std::string>& arguments, const FileLookup& lookup) {
  if (arguments.size() == 4 && arguments[0] == "bash") {
    return answerBash(app, arguments[1], arguments[2], arguments[3], lookup);
  }
  std::size_t current = 0;
  if (arguments.size() < 2 || arguments[0] != "words") return {};
  const std::string& place = arguments[1];
  if (std::from_chars(place.data(), place.data() + place.size(), current).ec != std::errc()) return {};
  const std::vector<std::string> words(arguments.begin() + 2, arguments.end());
  return answerText(complete(app, words, current, lookup), [](const Candidate& candidate) {
    return candidate.description.empty() ? candidate.word : candidate.word + '\t' + printable(candidate.description);
  });
}

}  // namespace Kvex::Tool
