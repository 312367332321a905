#include "capture_reader.h"

#include <fcntl.h>
#include <pcap/pcap.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <map>
#include <mutex>
#include <optional>
#include <utility>

namespace filtersim {
namespace {

// A stream by the file it is (a pipe has its own inode), so that "-", /dev/stdin and /dev/fd/0
// are one stream.
using StreamId = std::pair<dev_t, ino_t>;

std::string systemError(const std::string& path) {
  return path + ": " + std::strerror(errno);
}

// The streams read so far, each spooled to an unlinked file kept open until the process ends.
class Spools {
 public:
  ~Spools() {
    for (const auto& [id, fd] : spools_) ::close(fd);
  }

  // A descriptor of the spool of `path`'s stream, at its start; nullopt for a regular file or
  // one that cannot be looked at (libpcap then opens it, or says why not).
  std::optional<int> open(const std::string& path) {
    const bool standard_input = path == "-";
    struct stat status {};
    if (standard_input ? ::fstat(STDIN_FILENO, &status) != 0 : ::stat(path.c_str(), &status) != 0)
      return std::nullopt;
    if (S_ISREG(status.st_mode) && !standard_input) return std::nullopt;
    const std::lock_guard<std::mutex> lock(mutex_);
    const StreamId id{status.st_dev, status.st_ino};
    auto found = spools_.find(id);
    if (found == spools_.end()) found = spools_.emplace(id, spool(path, standard_input)).first;
    const int fd = ::dup(found->second);
    if (fd < 0 || ::lseek(fd, 0, SEEK_SET) != 0) {
      if (fd >= 0) ::close(fd);
      throw CaptureError(systemError(path));
    }
    return fd;
  }

 private:
  // Copies the stream to a new unlinked file. Past the first four bytes only when they are a
  // capture's magic number: anything else is refused by libpcap from those alone, and an endless
  // device such as /dev/zero is not read forever.
  static int spool(const std::string& path, bool standard_input) {
    const int in = standard_input ? STDIN_FILENO : ::open(path.c_str(), O_RDONLY);
    if (in < 0) throw CaptureError(systemError(path));
    std::string name =
        (std::filesystem::temp_directory_path() / "filtersim-capture-XXXXXX").string();
    const int out = ::mkstemp(name.data());
    if (out < 0) {
      if (!standard_input) ::close(in);
      throw CaptureError("cannot spool " + path + ": " + systemError(name));
    }
    ::unlink(name.c_str());  // gone when the process ends, however it ends
    const bool copied = copy(in, out);
    const int error = errno;
    if (!standard_input) ::close(in);
    if (!copied) {
      ::close(out);
      errno = error;
      throw CaptureError("cannot spool " + path + ": " + std::strerror(error));
    }
    return out;
  }

  static bool isMagic(const std::array<uint8_t, 4>& bytes) {
    static constexpr uint32_t kMagics[] = {0xa1b2c3d4, 0xa1b23c4d, 0xa1b2cd34, 0x0a0d0d0a};
    const uint32_t big =
        uint32_t{bytes[0]} << 24 | uint32_t{bytes[1]} << 16 | uint32_t{bytes[2]} << 8 | bytes[3];
    const uint32_t little = __builtin_bswap32(big);
    for (uint32_t magic : kMagics) {
      if (big == magic || little == magic) return true;
    }
    return false;
  }

  // Reads `in` to its end into `out`; false with errno on a failure.
  static bool copy(int in, int out) {
    std::array<uint8_t, 4> head{};
    size_t head_size = 0;
    std::array<char, 65536> buffer;
    for (;;) {
      // The magic number first, then whole buffers.
      const size_t want = head_size < head.size() ? head.size() - head_size : buffer.size();
      const ssize_t got = ::read(in, buffer.data(), want);
      if (got < 0 && errno == EINTR) continue;
      if (got < 0) return false;
      if (got == 0) return true;
      if (!write(out, buffer.data(), static_cast<size_t>(got))) return false;
      if (head_size < head.size()) {
        std::memcpy(head.data() + head_size, buffer.data(), static_cast<size_t>(got));
        head_size += static_cast<size_t>(got);
        if (head_size == head.size() && !isMagic(head)) return true;
      }
    }
  }

  static bool write(int out, const char* data, size_t size) {
    while (size > 0) {
      const ssize_t put = ::write(out, data, size);
      if (put < 0 && errno == EINTR) continue;
      if (put < 0) return false;
      data += put;
      size -= static_cast<size_t>(put);
    }
    return true;
  }

  std::mutex mutex_;
  std::map<StreamId, int> spools_;
};

Spools& spools() {
  static Spools instance;
  return instance;
}

pcap_t* openCapture(const std::string& path) {
  char error[PCAP_ERRBUF_SIZE] = "";
  const std::optional<int> spooled = spools().open(path);
  if (!spooled) {
    pcap_t* handle =
        pcap_open_offline_with_tstamp_precision(path.c_str(), PCAP_TSTAMP_PRECISION_NANO, error);
    if (!handle) throw CaptureError(error);
    return handle;
  }
  FILE* file = ::fdopen(*spooled, "rb");
  if (!file) {
    const std::string reason = systemError(path);
    ::close(*spooled);
    throw CaptureError(reason);
  }
  pcap_t* handle =
      pcap_fopen_offline_with_tstamp_precision(file, PCAP_TSTAMP_PRECISION_NANO, error);
  if (!handle) {
    std::fclose(file);
    throw CaptureError(error);
  }
  return handle;  // closing it closes the file
}

}  // namespace

CaptureReader::CaptureReader(const std::string& path) : handle_(openCapture(path)) {
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
