#pragma once

#include <cstdint>
#include <kvex/Signal.h>
#include <kvex/Time.h>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace Kvex {

/// A header packet of a stream.
struct Header {
  std::string tag;
  std::vector<std::pair<std::string, std::string>> values;  ///< Keys and values, sorted by key.
};

/// A count of the scan with its name: "packets", "pagesLost".
struct Counter {
  std::string name;
  std::uint64_t count = 0;
};

/// The kind of file that a stream is read from. The numbers are shown to users and never change.
enum class FileKind : std::uint8_t {
  Recording = 1,       ///< Interleaved logical streams (.vrel).
  NavigationFile = 3,  ///< Bare navigation packets (.quon, .dask).
  RangeFile = 4,       ///< Bare range packets, with navigation packets of its sources inside (.yeld).
};

/// One source of time-stamped signals in a file. Cheap to copy, and valid also when its `File` is gone.
/// Thread safety: may be read by several threads.
class Stream {
 public:
  std::uint32_t id() const;
  /// The number that the file knows it by.
  std::uint32_t serial() const;
  /// "Zint", "Can": the name of its protocol.
  std::string_view codec() const;
  int codecNumber() const;
  const std::string& name() const;
  /// Streams of the same name have the same group.
  int group() const;
  /// The place of the file among those opened together; 0.
  int fileIndex() const;
  FileKind fileKind() const;
  const std::string& filePath() const;
  /// ".vrel": in lower case.
  const std::string& fileExtension() const;
  bool headerSeen() const;
  bool headerAccepted() const;
  /// Whether usable time was found: else there are no values over time.
  bool hasTime() const;
  /// The time of the first and of the last record; 0 without time.
  Nano start() const;
  Nano end() const;
  const Header& header() const;
  /// The further header packets; the last one holds what the scan found out.
  const std::vector<Header>& headers() const;
  /// What the scan counted for this stream, then what it counted for the file as a whole.
  const std::vector<Counter>& counters() const;
  /// Every signal in listing order, also the ones that share a name.
  const std::vector<Signal>& signals() const;

 private:
  friend class File;
  friend class StreamAccess;
  struct Data;

  explicit Stream(std::shared_ptr<const Data> data) : data_(std::move(data)) {}

  std::shared_ptr<const Data> data_;
};

}  // namespace Kvex
