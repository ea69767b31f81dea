#include "recording/VrelStream.h"

namespace Kvex::Com {

void VrelStream::enter(VrelState state) {
  previousState_ = state_;
  state_ = state;
}

void VrelStream::rewindPages() {
  enter(assembler_.reset() ? VrelState::HeaderComplete : VrelState::Failed);
  beforeLastPage_ = lastPage_ = currentPage_ = 0;
  // What was counted while the header was read stays, as the header itself does.
  packetCounters_ = {.primaryPackets = packetCounters_.primaryPackets,
                     .headerPackets = packetCounters_.headerPackets,
                     .primaryHoles = packetCounters_.primaryHoles,
                     .headerHoles = packetCounters_.headerHoles};
  pageCounters_ = {};
}

}  // namespace Kvex::Com
