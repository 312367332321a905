// Reads a packet capture (pcap or pcapng) frame by frame, with nanosecond timestamps.
#pragma once

#include <cstddef>
#include <cstdint>
#include <stdexcept>
#include <string>

struct pcap;

namespace filtersim {

// A capture that cannot be read, with the reason libpcap gives, or one that is not Ethernet.
class CaptureError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// One frame, valid until the next read.
struct CapturedFrame {
  const uint8_t* data;
  size_t captured;        // bytes in the capture
  uint32_t length;        // the frame's length on the wire, as the record gives it
  uint64_t timestamp_ns;  // from the epoch
};

class CaptureReader {
 public:
  // Opens an Ethernet (DLT_EN10MB) capture, or raises CaptureError. `path` may be "-" (standard
  // input) or a pipe (/dev/stdin, /dev/fd/N, a FIFO): a stream is read to its end the first time
  // it is opened, into an unlinked temporary file that every later reader of the same stream
  // reads again from its start. Readers of one stream must not overlap.
  explicit CaptureReader(const std::string& path);
  ~CaptureReader();
  CaptureReader(const CaptureReader&) = delete;
  CaptureReader& operator=(const CaptureReader&) = delete;

  // The next frame; false at the end. A damaged capture raises CaptureError.
  bool next(CapturedFrame& frame);

 private:
  pcap* handle_;
};

}  // namespace filtersim
