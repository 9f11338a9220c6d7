// The process-wide variables that every room may read: stop flags, identity, directories.
//
// Each other room has a header of its own for what serves it (network_state.h, transfer_state.h, ...), all
// in this one namespace. Three rules keep them safe without locks:
//   - configuration is written by the start-up before the first task runs and only read afterwards;
//   - flags and counters are lock-free atomics, each with its writers and readers named beside it;
//   - sockets, interfaces and addresses change hands only under the pause handshake that
//     docs/handshakes.md draws: MainTask touches them while the network tasks report paused.
// Functions take values; only the tasks, the start-up and the argument-less routines look in there.
#pragma once

#include "base/display_identity.h"
#include "base/flags.h"

#include <cstdint>
#include <string>

namespace quendal::shared {

// --- Stop flags: cleared by MainTask's constructor, set by the application at shutdown ---

extern Flag stopReq;      // ends MainTask, McTask and the video tasks
extern Flag dataStopReq;  // ends DataTask and the reads of its connections
extern Flag auxStopReq;   // nobody reads it

// --- Identity and directories: written by the start-up, then only read ---

extern std::string idFilePath;  // start-up only
extern std::uint16_t groupNo;   // read through ownIdentity
extern std::uint16_t columnNo;
extern std::uint16_t displayNo;
extern std::string targetRootDir;  // read by file reception and the stick's distribution
extern std::string tempDestDir;    // read by file reception

/// The three numbers of this display.
DisplayIdentity ownIdentity();

}  // namespace quendal::shared
