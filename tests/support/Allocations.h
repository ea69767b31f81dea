#pragma once

#include <cstdint>

#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
#define KVEX_COUNTS_ALLOCATIONS
#endif

namespace Kvex::Testing {

/// What went through operator new since the program began; all 0 with sanitizers. libogg's buffers, which do not, grow
/// to the largest page and stay.
std::uint64_t allocations();
/// Bytes that are allocated now, and the most that ever were since `restartPeak`.
std::uint64_t allocatedBytes();
std::uint64_t peakBytes();
void restartPeak();

}  // namespace Kvex::Testing
