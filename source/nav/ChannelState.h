#pragma once

namespace Kvex::Nav {

/// What status channels remember from packet to packet beside the record. A reset decoder holds a constructed one.
struct ChannelState {};

}  // namespace Kvex::Nav
