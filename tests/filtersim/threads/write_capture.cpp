// Writes the capture the threaded replay test replays: 50,000 frames over three batches of
// lookups, of four customers' traffic (by VLAN) in bursts, so that their policers colour them.
#include <iostream>

#include "support/capture_frames.h"

int main(int argc, char** argv) {
  if (argc != 2) {
    std::cerr << "usage: " << argv[0] << " CAPTURE\n";
    return 2;
  }
  capture_frames::CaptureWriter capture(argv[1]);
  uint64_t now = 1000000000;
  for (uint32_t n = 0; n < 50000; ++n) {
    const auto vlan = static_cast<uint16_t>(10 + n % 4);
    const uint8_t protocol = n % 3 ? capture_frames::kTcp : capture_frames::kUdp;
    const auto frame = capture_frames::Frame()
                           .tag(0x8100, vlan, static_cast<uint8_t>(n % 8))
                           .ipv4(0x0a000000u | (n % 512), 0x0b000001, protocol)
                           .ports(static_cast<uint16_t>(1024 + n % 7), 80)
                           .bytes();
    // Bursts of 100 frames 1 µs apart, then a pause of 5 ms.
    now += n % 100 ? 1000 : 5000000;
    capture.write(frame, now, SIZE_MAX, static_cast<uint32_t>(200 + n % 1300));
  }
  return 0;
}
