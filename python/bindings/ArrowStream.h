#pragma once

#include <memory>

#include "ArrowTable.h"
#include "Objects.h"
#include "Recording.h"

namespace Kvex::Python {

/// What a table's rows are.
struct TableRows {
  std::optional<Grid> grid;  ///< Native samples without.
  ReadOptions options;
};

/// A capsule of an Arrow schema.
nb::capsule schemaCapsule(const ArrowTable& table);
/// A capsule of a stream of batches, read while its consumer asks for them.
nb::capsule streamCapsule(const std::shared_ptr<Recording>& recording, const std::vector<Signal>& signals,
                          ArrowTable table, const TableRows& rows);

/// Begins a reading of a leased file.
Reader beginReading(const Recording::Lease& file, const std::vector<Signal>& signals, const TableRows& rows);

/// The native samples of many signals, batch by batch, each of one of their tables.
class TableBatches {
 public:
  TableBatches(const std::shared_ptr<Recording>& recording, const std::vector<Signal>& signals,
               std::vector<std::string> tables, std::vector<ArrowTable> forms, const ReadOptions& options);

  /// The place of the next batch's table, with the capsules of its schema and array; None at the end.
  nb::object next();

 private:
  Recording::Lease file_;
  std::vector<std::string> tables_;
  std::vector<ArrowTable> forms_;
  Reader reader_;
};

}  // namespace Kvex::Python
