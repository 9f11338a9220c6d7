// Opens and closes the process-wide multicast socket.
#pragma once

namespace quendal {

/// Binds `mcSocket` to the group's address, sets time to live and time-outs (1 s each way) and joins
/// the group on `currentInterface`, which its datagrams then leave by as well.
///
/// True when all of that worked. The first failure is reported, the rest is left out, and the socket
/// must then not be received from: without its time-outs it would block for ever. McTask's thread,
/// while it does not report paused.
bool openMulticastSocket();

/// Closes `mcSocket`, whatever state it is in; a failure is reported. It can be opened again.
void closeMulticastSocket();

}  // namespace quendal
