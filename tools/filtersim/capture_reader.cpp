#include "capture_reader.h"

#include <pcap/pcap.h>

namespace filtersim {

CaptureReader::CaptureReader(const std::string& path) {
  char error[PCAP_ERRBUF_SIZE] = "";
  handle_ =
      pcap_open_offline_with_tstamp_precision(path.c_str(), PCAP_TSTAMP_PRECISION_NANO, error);
  if (!handle_) throw CaptureError(error);
  const int link = pcap_datalink(handle_);
  if (link != DLT_EN10MB) {
    const char* name = pcap_datalink_val_to_name(link);
    pcap_close(handle_);
    throw CaptureError("the capture's link type is " +
                       (name ? std::string(name) : std::to_string(link)) +
                       ", not Ethernet (EN10MB)");
  }
}

CaptureReader::~CaptureReader() {
  pcap_close(handle_);
}

bool CaptureReader::next(CapturedFrame& frame) {
  pcap_pkthdr* header = nullptr;
  const u_char* data = nullptr;
  const int read = pcap_next_ex(handle_, &header, &data);
  if (read == PCAP_ERROR_BREAK) return false;
  if (read != 1) throw CaptureError(pcap_geterr(handle_));
  frame.data = data;
  frame.captured = header->caplen;
  frame.length = header->len;
  // tv_usec holds nanoseconds at this precision.
  frame.timestamp_ns = static_cast<uint64_t>(header->ts.tv_sec) * 1000000000u +
                       static_cast<uint64_t>(header->ts.tv_usec);
  return true;
}

}  // namespace filtersim
