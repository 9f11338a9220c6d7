// System calls of sockets that fail: whoever links this has them between the library and the system.
#pragma once

namespace quendal::faults {

/// The `number`-th (from 1) of all calls of socket, bind, setsockopt and getsockopt that follow fails with EIO,
/// and no other.
void failSocketCall(int number);

/// Has that call been made?
bool hasFailed();

/// From now on every recv and recvfrom fails with EIO, or none.
void failReceives(bool fails);

}  // namespace quendal::faults
