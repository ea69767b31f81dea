// Writes the pages of docs/signals from the lists of signals.
//
//   signal_pages FOLDER           writes the pages
//   signal_pages --check FOLDER   exit code 1, with a line for each, if pages are not current

#include <cstdio>
#include <filesystem>
#include <fmt/format.h>
#include <fstream>
#include <iterator>
#include <map>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "can/StreamCan.h"
#include "library/Enumerations.h"
#include "nav/NavTables.h"
#include "range/RangeLayouts.h"
#include "range/RangeTable.h"
#include "range/RangeWantTree.h"

namespace {

using namespace Kvex;
using Sto::SignalRow;

constexpr std::size_t kMaxInlineTexts = 8;

/// What the lists say about a signal beside its row.
struct Listed {
  std::string group;
  std::string rate;
};
using Facts = std::map<std::string, Listed, std::less<>>;

std::string navRate(std::string_view source) {
  return source == "Packet" ? "each packet" : "status";
}

const Facts& navFacts() {
  static const Facts facts = {
#define KVEX_NAV_SIGNAL(Name, Type, Unit, Resolution, Dial, Group, Source, ...) {#Name, {#Group, navRate(#Source)}},
#include "tables/NavSignals.def"
  };
  return facts;
}
const Facts& receiverFacts() {
  static const Facts facts = {
#define KVEX_RECEIVER_SIGNAL(Name, Type, Unit, Resolution, Group, Source, ...) {#Name, {#Group, navRate(#Source)}},
#include "tables/ReceiverSignals.def"
  };
  return facts;
}
const Facts& pointFacts() {
  static const Facts facts = {
#define KVEX_POINT_SIGNAL(Name, Type, Unit, Resolution, Group, Source, ...) {#Name, {#Group, navRate(#Source)}},
#include "tables/MeasPointSignals.def"
  };
  return facts;
}

/// A group of range signals comes with each packet, is worked out from others, or is reported in a channel.
template <class Block>
std::string rangeRate(Rng::GroupOf<Block> group, bool derived, std::initializer_list<Rng::FieldRows<Block>> layouts) {
  for (const Rng::FieldRows<Block>& rows : layouts) {
    for (const auto& row : rows) {
      if (row.group == group) return "each packet";
    }
  }
  return derived ? "derived" : "status";
}

std::string targetRate(Rng::TargetGroup group) {
  using Rng::TargetGroup;
  static const std::set<TargetGroup> derived = [] {
    std::set<TargetGroup> groups;
    const auto note = [&](TargetGroup name, int requirements) {
      if (requirements > 0) groups.insert(name);
    };
#define KVEX_TARGET_GROUP(Name, Table, ...) note(TargetGroup::Name, 0 __VA_OPT__(+1));
#include "tables/RangeTargetGroups.def"
    return groups;
  }();
  return rangeRate<Rng::RangeTarget>(group, derived.contains(group),
                                     {Rng::kShortLayout.target, Rng::kLongLayout.target});
}
std::string bodyRate(Rng::BodyGroup group) {
  using Rng::BodyGroup;
  static const std::set<BodyGroup> derived = [] {
    std::set<BodyGroup> groups;
    const auto note = [&](BodyGroup name, int requirements) {
      if (requirements > 0) groups.insert(name);
    };
#define KVEX_BODY_GROUP(Name, Table, ...) note(BodyGroup::Name, 0 __VA_OPT__(+1));
#include "tables/RangeBodyGroups.def"
    return groups;
  }();
  return rangeRate<Rng::RangeBody>(group, derived.contains(group),
                                   {Rng::kShortLayout.body, Rng::kLongLayout.body, Rng::kLaneLayout.body});
}

const Facts& targetFacts() {
  static const Facts facts = {
#define KVEX_TARGET_SIGNAL(Name, Type, Count, Unit, Resolution, Group, ...) \
  {#Name, {#Group, targetRate(Rng::TargetGroup::Group)}},
#include "tables/RangeTargetSignals.def"
  };
  return facts;
}
const Facts& bodyFacts() {
  static const Facts facts = {
#define KVEX_BODY_SIGNAL(Name, Type, Count, Unit, Resolution, Group, ...) \
  {#Name, {#Group, bodyRate(Rng::BodyGroup::Group)}},
#include "tables/RangeBodySignals.def"
  };
  return facts;
}

std::string cell(std::string_view text) {
  std::string result;
  for (const char c : text) result += c == '|' ? "\\|" : std::string(1, c);
  return result.empty() ? " " : result;
}

std::string typeText(const SignalRow& row) {
  const std::string_view name = Lib::kValueTypeNames.name(static_cast<std::uint64_t>(row.valueType));
  return row.isArray ? fmt::format("{}[{}]", name, row.count) : std::string(name);
}

std::string valueList(const Lib::Enumeration& names, std::string_view separator) {
  std::string list;
  for (std::uint16_t value = 0; value <= names.last(); ++value) {
    list += fmt::format("{}{} {}", list.empty() ? "" : separator, value, cell(names.name(value)));
  }
  return list;
}

/// The pages, by file name.
class Pages {
 public:
  /// Adds a row under the heading of its table; `name` and `table` without the number of a block.
  void add(const std::string& page, const SignalRow& row, const std::string& name, const std::string& table,
           const Listed& listed, std::string_view protocols) {
    std::vector<std::string>& rows = sections_[page][table];
    rows.push_back(fmt::format("| `{}` | {} | {} | {} | {} | {}{} | {} |\n", name, typeText(row), cell(row.unit),
                               listed.group, listed.rate, protocols.empty() ? "" : fmt::format("{}: ", protocols),
                               cell(row.description), textsOf(row)));
    ++counts_[page];
  }

  std::map<std::string, std::string> finish() {
    std::map<std::string, std::string> pages;
    for (const auto& [page, title] : kTitles) {
      std::string& text = pages[std::string(page)];
      text = fmt::format("# {}\n\n{} lines. [How to read them](README.md).\n", title, counts_[std::string(page)]);
      for (const auto& [table, rows] : sections_[std::string(page)]) {
        text += fmt::format("\n## {}\n\n| signal | type | unit | group | rate | description | values |\n", table);
        text += "|---|---|---|---|---|---|---|\n";
        for (const std::string& row : rows) text += row;
      }
    }
    std::string& values = pages["values.md"];
    values = "# Values of coded signals\n";
    for (const auto& [anchor, names] : enumerations_) {
      values += fmt::format("\n<a id=\"{}\"></a>\n\n## {}\n\n{}\n", anchor, anchor, valueList(*names, "<br>\n"));
    }
    pages["README.md"] = kReadme;
    return pages;
  }

 private:
  static constexpr std::pair<std::string_view, std::string_view> kTitles[] = {
      {"navigation.md", "Signals of Quon and Dask streams"},
      {"range.md", "Signals of Yeld streams"},
      {"can.md", "Signals that every CAN stream has"}};

  static constexpr const char* kReadme =
      "# Signals\n\nEvery signal of the fixed protocols, made by `script/signal-pages` from the lists in "
      "`source/tables`:\n\n- [navigation.md](navigation.md): Quon and Dask. \"Quon\" or \"Dask\" ahead of a "
      "description "
      "means that only that protocol has the signal. A line stands for three receivers where its name begins with "
      "`GpsInt1_` (also `GpsExt1_`, `GpsInt2_`), and for eight measurement points where it begins with `MeasPt1_`.\n"
      "- [range.md](range.md): Yeld. A line stands for four targets where its name begins with `Target1_`.\n"
      "- [can.md](can.md): the time signals of a CAN stream. All others come from the database that the recording "
      "brings.\n"
      "- [values.md](values.md): the values of coded signals with many of them.\n\n"
      "The signals of a Zint stream stand in its own definition.\n\n"
      "Headings are tables: signals that the same packets write, and that `File::nativeTables` reads together. The "
      "group "
      "is what is decoded as a whole when one of its signals is wanted. The rate says when a signal is written: with "
      "each "
      "packet, when a status channel reports it, or, where it is derived, with what it is worked out from.\n";

  std::string textsOf(const SignalRow& row) {
    if (row.enumeration == nullptr) return row.valueText == nullptr ? " " : "as text";
    const Lib::Enumeration& names = *row.enumeration;
    if (names.last() < kMaxInlineTexts) return valueList(names, ", ");
    // Named after the first signal that has them.
    const auto [place, isNew] = anchors_.emplace(&names, row.name.substr(row.name.find('_') + 1));
    if (isNew) enumerations_.emplace(place->second, &names);
    return fmt::format("[{} values](values.md#{})", names.last() + 1, place->second);
  }

  std::map<std::string, std::map<std::string, std::vector<std::string>>> sections_;
  std::map<std::string, std::size_t> counts_;
  std::map<const Lib::Enumeration*, std::string> anchors_;
  std::map<std::string, const Lib::Enumeration*> enumerations_;
};

void addNavigation(Pages& pages) {
  const Sto::SignalTable& quon = Sto::StaticAccessQuon::table();
  const Sto::SignalTable& dask = Sto::StaticAccessDask::table();
  const auto add = [&](const SignalRow& row, std::string_view only) {
    enum Source : std::uint32_t { kRecord, kReceiver, kMeasPoint };
    if (row.blockIndex != 0) return;  // the first of several alike stands for all
    const std::string base = row.source == kRecord ? row.name : row.name.substr(row.name.find('_') + 1);
    const Facts& facts = row.source == kRecord ? navFacts() : row.source == kReceiver ? receiverFacts() : pointFacts();
    pages.add("navigation.md", row, row.name, row.table, facts.at(base), only);
  };
  quon.forEach([&](const SignalRow& row) { add(row, dask.find(row.run(), row.name) == nullptr ? "Quon" : ""); });
  dask.forEach([&](const SignalRow& row) {
    if (quon.find(row.run(), row.name) == nullptr) add(row, "Dask");
  });
}

void addRange(Pages& pages) {
  Sto::rangeTable().forEach([&](const SignalRow& row) {
    if (row.blockIndex != 0) return;
    constexpr std::string_view kTarget = "Target1_";
    const Listed& listed =
        row.source == 0 ? bodyFacts().at(row.name) : targetFacts().at(row.name.substr(kTarget.size()));
    pages.add("range.md", row, row.name, row.table, listed, "");
  });
}

void addCan(Pages& pages) {
  const Sto::StreamCan stream({Lib::StreamCodec::Can, Sto::ResourceKind::Recording, 0});
  std::vector<Sto::SignalListing> signals;
  stream.listSignals(signals, ~0U);
  for (const Sto::SignalListing& signal : signals) {
    SignalRow row;
    static_cast<Sto::SignalInfo&>(row) = signal;
    pages.add("can.md", row, row.name, row.table, {"-", "each packet"}, "");
  }
}

std::string contentOf(const std::filesystem::path& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

}  // namespace

int main(int argc, char** argv) {
  const bool check = argc == 3 && std::string_view(argv[1]) == "--check";
  if (!check && argc != 2) {
    fmt::print(stderr, "usage: {} [--check] FOLDER\n", argv[0]);
    return 2;
  }
  const std::filesystem::path folder = argv[argc - 1];
  Pages pages;
  addNavigation(pages);
  addRange(pages);
  addCan(pages);
  bool current = true;
  for (const auto& [name, text] : pages.finish()) {
    if (!check) {
      std::ofstream(folder / name, std::ios::binary) << text;
    } else if (contentOf(folder / name) != text) {
      fmt::print(stderr, "{} is not current: run script/signal-pages\n", (folder / name).string());
      current = false;
    }
  }
  return current ? 0 : 1;
}
