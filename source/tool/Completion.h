#pragma once

#include <CLI/CLI.hpp>
#include <cstddef>
#include <functional>
#include <kvex/Signal.h>
#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace Kvex::Tool {

/// A check that a value is one of some, which completion offers.
CLI::Validator oneOf(const std::vector<std::string>& values);
template <class Value>
CLI::Validator oneOf(const std::map<std::string, Value>& values) {
  std::vector<std::string> names;
  names.reserve(values.size());
  for (const auto& [name, value] : values) names.push_back(name);
  return oneOf(names);
}

/// A word that may stand at the cursor.
struct Candidate {
  std::string word;
  std::string description;

  bool operator==(const Candidate&) const = default;
};

/// What may stand at the cursor: names of files, which the shell knows, or these words.
struct Completion {
  bool files = false;
  std::vector<Candidate> candidates;
};

/// What completion needs of a file.
struct FileFacts {
  std::vector<Signal> signals;
  std::vector<Candidate> streams;  ///< Ids.
};

/// Looks into a file; nothing where it is none, or where it takes too long.
using FileLookup = std::function<FileFacts(const std::string& path)>;

/// Completes `words[current]`, which ends at the cursor. The words are those behind the program's name.
Completion complete(CLI::App& app, const std::vector<std::string>& words, std::size_t current,
                    const FileLookup& lookup);

/// Looks into a file of any size within a moment: of a large one only the beginning is read, where a recording has its
/// signals.
FileFacts lookQuickly(const std::string& path);

/// A word of a command line as bash sees it while it is typed.
struct ShellWord {
  std::string text;           ///< Without quotes.
  char quote = '\0';          ///< The quote that is still open at its end.
  std::size_t replaceAt = 0;  ///< From here on in `text` bash puts another text in its place.
};

/// Takes a command line apart. The last word is the one that its end stands in, be it empty. `breaks` are the
/// characters behind which bash begins to complete anew (COMP_WORDBREAKS).
std::vector<ShellWord> splitShellLine(std::string_view line, std::string_view breaks);

/// What bash is to put in place of the end of a word, so that the word becomes `replacement`.
std::string bashInsertion(const ShellWord& word, std::string_view replacement);

/// Answers the scripts that `vrel completion` writes. Their first argument is "bash", with COMP_WORDBREAKS and the
/// command line before and behind the cursor, or "words", with the place of the current word, from 0, and all words
/// without quotes. The answer has a line "files" or "words", and a line for each word: in the form that bash inserts,
/// or with a tab and a description behind it.
std::string answerCompletion(CLI::App& app, const std::vector<std::string>& arguments, const FileLookup& lookup);

}  // namespace Kvex::Tool
