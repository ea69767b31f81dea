#pragma once

#include <map>
#include <set>
#include <vector>

#include "recording/PageReader.h"
#include "store/LogicalVrel.h"
#include "store/Resource.h"

namespace Kvex::Sto {

/// A recording: an Ogg file that interleaves logical streams, one Stream each. Logical streams of an unknown codec are
/// ignored.
class ResourceOgg final : public Resource {
 public:
  /// More logical streams than this are not taken in from one file.
  static constexpr std::size_t kMaxStreams = 1024;

  ResourceOgg(const ScanContext& context, std::uint32_t resourceIndex, std::string filePath)
      : Resource(context, resourceIndex, ResourceKind::Recording, std::move(filePath)) {}

  void scan() override;
  void linkStreams() override;

 private:
  /// A Stream with its logical stream. Pages are numbered by their place among all pages of the file.
  struct Member {
    Stream* stream;
    LogicalVrel* logical;
    std::uint64_t firstPage;    ///< The page that made the Stream known.
    std::uint64_t restartPage;  ///< Data from before this page was cut off by a repeat block.
    bool overfull = false;      ///< Data from behind `restartPage` was dropped during identification.
    bool feeding = false;       ///< The first pass still feeds it.
    DamageTimes gaps;           ///< Where pages are missing.
  };

  void identify();
  void firstPass();
  /// Gives a page of the first pass to its Stream, unless that holds it from identification.
  void addProbedPage(Member& member, const ogg_page& page, std::uint64_t place);
  void secondPass();

  /// Hands a page to its Stream in the second pass, and notes what is wrong with it.
  void scanPage(Member& member, const ogg_page& page);
  /// Decodes the packets at hand in the second pass.
  static void scanPackets(Member& member);
  /// Whether a page of no Stream belongs to a logical stream that is known to be of another kind.
  bool isForeign(const ogg_page& page);
  /// Notes damage that is no single Stream's.
  void noteInFile(DamageKind kind, std::uint64_t count, bool continues = false);

  /// Finds the codec whose tag opens a first page.
  const Codec* matchCodec(const ogg_page& page) const;
  void meetPage(const ogg_page& page);
  /// Copies completed headers to their Streams. Gives whether a Stream is still waiting for its header.
  bool settleHeaders();

  Com::PageReader reader_;
  std::uint64_t pagesMet_ = 0;               ///< Pages of all serials that identification has met.
  std::map<std::uint32_t, Member> members_;  ///< By serial, as `streams`.
  std::set<std::uint32_t> foreign_;          ///< Serials of logical streams of an unknown codec.
};

}  // namespace Kvex::Sto
