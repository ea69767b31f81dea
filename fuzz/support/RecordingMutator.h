#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <random>
#include <span>
#include <vector>

#include "recording/OggPage.h"

extern "C" std::size_t LLVMFuzzerMutate(std::uint8_t* data, std::size_t size, std::size_t maxSize);

namespace Kvex::Fuzz {

/// Changes a recording in the way of libFuzzer, or a whole page of it, and sets the checksums again: without that a
/// changed page would get no further than the checksum test. For a target's `LLVMFuzzerCustomMutator`.
class RecordingMutator {
 public:
  RecordingMutator(std::uint8_t* data, std::size_t size, std::size_t maxSize, unsigned seed)
      : data_(data), size_(size), maxSize_(maxSize), random_(seed) {}

  std::size_t mutate() {
    const std::vector<std::span<std::uint8_t>> pages = Com::findPages({data_, size_});
    if (pages.empty() || draw(2) == 0) {
      size_ = LLVMFuzzerMutate(data_, size_, maxSize_);
    } else {
      mutatePage(pages[draw(pages.size())]);
    }
    Com::repairChecksums({data_, size_});
    return size_;
  }

 private:
  static constexpr std::size_t kFlags = 5;
  static constexpr std::size_t kNumber = 18;

  std::size_t draw(std::size_t choices) { return random_() % choices; }

  void mutatePage(std::span<std::uint8_t> page) {
    switch (draw(4)) {
      case 0:
        page[kFlags] = static_cast<std::uint8_t>(page[kFlags] ^ 1U << draw(4));
        return;
      case 1:
        page[kNumber] = static_cast<std::uint8_t>(page[kNumber] + draw(7) - 3);
        return;
      case 2:
        return repeat(page);
      default:
        return remove(page);
    }
  }

  void repeat(std::span<const std::uint8_t> page) {
    if (page.size() > maxSize_ - size_) return;
    const std::vector<std::uint8_t> copy(page.begin(), page.end());
    const std::vector<std::span<std::uint8_t>> pages = Com::findPages({data_, size_});
    std::uint8_t* place = pages[draw(pages.size())].data();
    std::memmove(place + copy.size(), place, static_cast<std::size_t>(data_ + size_ - place));
    std::copy(copy.begin(), copy.end(), place);
    size_ += copy.size();
  }

  void remove(std::span<std::uint8_t> page) {
    std::uint8_t* after = page.data() + page.size();
    std::memmove(page.data(), after, static_cast<std::size_t>(data_ + size_ - after));
    size_ -= page.size();
  }

  std::uint8_t* data_;
  std::size_t size_;
  std::size_t maxSize_;
  std::minstd_rand random_;
};

}  // namespace Kvex::Fuzz
