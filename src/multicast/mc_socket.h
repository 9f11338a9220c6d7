// Opens and closes the process-wide multicast socket.
#pragma once

namespace quendal {

/// How long the socket waits for a datagram, and for room to send one.
inline constexpr long kMulticastTimeoutSeconds = 1;

/// What an opening has come to.
enum class McSocketState {
  kClosed,     // not bound, or without its time-outs: it would block whoever receives from it for ever
  kUnsettled,  // can be received from, but its time to live, its group or its outgoing interface was refused
  kSettled,
};

/// Binds `mcSocket` to the group's address, sets time to live and time-outs (1 s each way) and joins
/// the group on `currentInterface`, which its datagrams then leave by as well.
///
/// The first failure is reported. Behind it the rest is done in silence, as far as it can be. McTask's
/// thread, while it does not report paused.
McSocketState openMulticastSocket();

/// Tries once more, in silence, what an unsettled socket lacks; true when it lacks nothing any more. Threads as
/// above.
bool settleMulticastSocket();

/// Closes `mcSocket`, whatever state it is in; a failure is reported. It can be opened again.
void closeMulticastSocket();

}  // namespace quendal
