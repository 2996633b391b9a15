// Frames of a capture, one after the other.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "capture/FrameReader.h"
#include "capture/LinkTypes.h"

namespace Sim {

// Where frames come from.
class FrameSource {
 public:
  enum class Next : uint8_t {
    frame,    // There is one more.
    end,      // There is none.
    stopped,  // Reading was stopped from outside.
    broken,   // What follows cannot be read; `fault` says why.
  };

  FrameSource() = default;
  FrameSource(const FrameSource&) = delete;
  FrameSource& operator=(const FrameSource&) = delete;
  virtual ~FrameSource() = default;

  virtual const LinkType& linkType() const = 0;
  // Sets `frame` where there is one more.
  virtual Next next(CapturedFrame& frame) = 0;
  // Bytes that were read, up to the frame that is next.
  virtual uint64_t position() const = 0;
  // Bytes that there are; none where that is not known, as of a pipe.
  virtual std::optional<uint64_t> size() const = 0;
  // As the system or libpcap says it.
  virtual std::string fault() const = 0;
};

// Why a capture cannot be read.
struct CaptureFault {
  enum class Kind : uint8_t {
    unreadable,  // The file.
    noCapture,   // It is none, or of no known format.
    linkType,    // Its frames have no Ethernet header that is known; the text names the link type.
    stopped,     // Before anything of it was read.
  };
  Kind kind = Kind::unreadable;
  std::string text;
};

struct OpenedCapture {
  std::unique_ptr<FrameSource> source;  // Null where it cannot be read,
  CaptureFault fault = {};              // and why not.
};

// Opens a capture in pcap or pcapng format; "-" is standard input. Once there is something to be read from the file
// `stop`, unless it is -1, no more is read of the capture.
OpenedCapture openCapture(const std::string& name, int stop);

}  // namespace Sim
