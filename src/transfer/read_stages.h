// The points at which a packet is read from a connection, each with its messages and error codes.
//
// The same number stands for different points in places (515, and 768 plus a file element's result);
// whoever reads these logs knows the numbers so, and they stay.
#pragma once

#include "transfer/packet_reader.h"

#include <cstddef>
#include <span>

namespace quendal {

/// One read of a packet: what is written, and which code results, when it fails.
struct ReadStage {
  const char* exceptionHeading;  // written, with the exception's text, when the read throws
  const char* closedMessage;     // written when the peer has closed the connection
  unsigned exceptionCode;
  unsigned closedCode;
  bool closedMessageAfterException;  // the closed message follows the exception's as well
};

/// Fills `bytes` from the connection. Returns 0, or writes the stage's messages and returns its code when the
/// peer has closed the connection or the read throws (see PacketReader::readExactly).
unsigned readStage(PacketReader& reader, const ReadStage& stage, std::span<std::byte> bytes, const Deadline& deadline);

inline constexpr unsigned kHeaderFormatError = 516;
inline constexpr unsigned kCommandStatusFormatError = 1027;
inline constexpr unsigned kFileElementErrorBase = 768;  // plus the file element's result
inline constexpr unsigned kStoreError = 769;            // a file element's result: see file_reception.h

inline constexpr ReadStage kHeaderLengthStage = {
    "DataProcHeader<pos:0>: Exception Met!",
    "DataProcHeader<pos:0>:read 0 bytes, seems that socket was closed,disconnecting...", 259, 259, true};

inline constexpr ReadStage kHeaderStage = {
    "DataProcHeader<pos:1>: Exception Met!",
    "DataProcHeader<pos:1>:read 0 bytes, seems that socket was closed,disconnecting...", 513, 515, false};

inline constexpr ReadStage kCommandStatusLengthStage = {
    "DataRxCmdStatus<pos:0>:: Exception Met!",
    "DataRxCmdStatus<pos:0>:read 0 bytes, seems that socket was closed,disconnecting...", 515, 515, true};

inline constexpr ReadStage kCommandStatusStage = {
    "DataRxCmdStatus<pos:1>:: Exception Met!",
    "DataRxCmdStatus<pos:1>:read 0 bytes, seems that socket was closed,disconnecting...", 769, 771, false};

inline constexpr ReadStage kFileHeadStage = {
    "DataRxFileElement<pos:0>:: Exception Met!",
    "DataRxFileElement<pos:0>:read 0 bytes, seems that socket was closed,disconnecting...", 3, 3, true};

inline constexpr ReadStage kFileNameStage = {
    "DataRxFileElement<pos:1>:: Exception Met!",
    "DataRxFileElement<pos:1>:read 0 bytes, seems that socket was closed,disconnecting...", 257, 259, false};

inline constexpr ReadStage kDataLengthStage = {
    "DataRxFileElement<pos:2>:: Exception Met!",
    "DataRxFileElement<pos:2>:read 0 bytes, seems that socket was closed,disconnecting...", 1, 3, false};

}  // namespace quendal
