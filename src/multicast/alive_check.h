// The alive check: the one command that the multicast side acts on.
#pragma once

namespace quendal {

/// Looks at the packet in `mcRxRecord` and, when it is an alive request to this display and no reply
/// has left within 6 seconds, replies with the alive descriptor: over TCP when a request's file says
/// where the transmitter's server is, else by multicast.
///
/// A server that cannot be reached costs at most 5 s and is tried again at the next request. McTask's
/// thread. Throws Poco::FileException when the descriptor of a multicast reply cannot be written.
void handleMcPacket();

}  // namespace quendal
