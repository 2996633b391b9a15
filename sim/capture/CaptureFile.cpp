#include "capture/CaptureFile.h"

#include <fcntl.h>
#include <pcap/pcap.h>
#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdio>
#include <system_error>
#include <utility>
#include <vector>

namespace Sim {
namespace {

std::string systemFault(int error) { return std::generic_category().message(error); }

// A file that libpcap reads by a stream of the C library. Knows how much of it was read, of a pipe, too, and ends when
// it is told to stop.
class InputFile {
 public:
  // Owns `file`, which is open.
  InputFile(int file, int stop) : file_(file), stop_(stop) {
    struct stat status{};
    if (::fstat(file_, &status) == 0 && S_ISREG(status.st_mode)) size_ = static_cast<uint64_t>(status.st_size);
  }
  InputFile(const InputFile&) = delete;
  InputFile& operator=(const InputFile&) = delete;
  ~InputFile() { ::close(file_); }

  // Null where there is no memory for it. Refers to this.
  std::FILE* stream() {
    constexpr cookie_io_functions_t kFunctions{&InputFile::read, nullptr, &InputFile::seek, nullptr};
    std::FILE* const stream = ::fopencookie(this, "r", kFunctions);
    if (stream != nullptr) std::setvbuf(stream, buffer_.data(), _IOFBF, buffer_.size());
    return stream;
  }
  bool isStopped() const { return isStopped_; }
  int error() const { return error_; }
  std::optional<uint64_t> size() const { return size_; }

 private:
  static ssize_t read(void* cookie, char* buffer, size_t size) {
    return static_cast<InputFile*>(cookie)->read(buffer, size);
  }
  // Only tells where it is.
  static int seek(void* cookie, off64_t* offset, int whence) {
    if (whence != SEEK_CUR || *offset != 0) return -1;
    *offset = static_cast<InputFile*>(cookie)->position_;
    return 0;
  }

  ssize_t read(char* buffer, size_t size) {
    for (;;) {
      if (mustStop()) return -1;
      const ssize_t length = ::read(file_, buffer, size);
      if (length >= 0) position_ += length;
      if (length >= 0) return length;
      if (errno == EINTR || errno == EAGAIN) continue;
      error_ = errno;
      return -1;
    }
  }
  // Waits until there is something to read, or it is to stop.
  bool mustStop() {
    std::array<pollfd, 2> files{{{file_, POLLIN, 0}, {stop_, POLLIN, 0}}};
    while (::poll(files.data(), files.size(), /*timeout=*/-1) == -1 && errno == EINTR) {
    }
    isStopped_ = files[1].revents != 0;
    return isStopped_;
  }

  int file_;
  int stop_;
  off64_t position_ = 0;
  std::optional<uint64_t> size_;
  bool isStopped_ = false;
  int error_ = 0;
  std::vector<char> buffer_ = std::vector<char>(size_t{1} << 16);
};

class CaptureFile : public FrameSource {
 public:
  CaptureFile(std::unique_ptr<InputFile> input, std::FILE* stream, pcap_t* capture, const LinkType& linkType)
      : input_(std::move(input)), stream_(stream), capture_(capture), linkType_(linkType) {}
  ~CaptureFile() override { pcap_close(capture_); }

  const LinkType& linkType() const override { return linkType_; }
  Next next(CapturedFrame& frame) override {
    position_ = ::ftello64(stream_);
    pcap_pkthdr* header = nullptr;
    const u_char* bytes = nullptr;
    const int result = pcap_next_ex(capture_, &header, &bytes);
    if (result == 1) {
      frame = {{bytes, header->caplen}, header->len};
      return Next::frame;
    }
    if (input_->isStopped()) return Next::stopped;
    return result == PCAP_ERROR_BREAK ? Next::end : Next::broken;
  }
  uint64_t position() const override { return static_cast<uint64_t>(position_); }
  std::optional<uint64_t> size() const override { return input_->size(); }
  std::string fault() const override {
    return input_->error() != 0 ? systemFault(input_->error()) : std::string(pcap_geterr(capture_));
  }

 private:
  std::unique_ptr<InputFile> input_;
  std::FILE* stream_;  // Of `capture_`.
  pcap_t* capture_;
  const LinkType& linkType_;
  off64_t position_ = 0;
};

OpenedCapture refused(CaptureFault::Kind kind, std::string text) { return {nullptr, {kind, std::move(text)}}; }

OpenedCapture opened(std::unique_ptr<InputFile> input) {
  using Kind = CaptureFault::Kind;
  std::FILE* const stream = input->stream();
  if (stream == nullptr) return refused(Kind::unreadable, systemFault(errno));
  std::array<char, PCAP_ERRBUF_SIZE> why{};
  pcap_t* const capture = pcap_fopen_offline(stream, why.data());
  if (capture == nullptr) {
    std::fclose(stream);
    if (input->isStopped()) return refused(Kind::stopped, "");
    if (input->error() != 0) return refused(Kind::unreadable, systemFault(input->error()));
    return refused(Kind::noCapture, why.data());
  }
  const int number = pcap_datalink(capture);
  const LinkType* const linkType = linkTypeOf(number);
  if (linkType != nullptr) return {std::make_unique<CaptureFile>(std::move(input), stream, capture, *linkType)};
  pcap_close(capture);
  return refused(Kind::linkType, linkTypeName(number));
}

}  // namespace

OpenedCapture openCapture(const std::string& name, int stop) {
  const int file = name == "-" ? ::fcntl(STDIN_FILENO, F_DUPFD_CLOEXEC, 0) : ::open(name.c_str(), O_RDONLY | O_CLOEXEC);
  if (file == -1) return refused(CaptureFault::Kind::unreadable, systemFault(errno));
  return opened(std::make_unique<InputFile>(file, stop));
}

}  // namespace Sim
