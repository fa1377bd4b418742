#include "project_input.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <zlib.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <utility>

namespace program {
namespace {

/// Bytes that were looked at already, and those behind them.
class Pushed : public Source {
 public:
  Pushed(std::string head, std::unique_ptr<Source> rest)
      : head_(std::move(head)), rest_(std::move(rest)) {}
  size_t read(char *to, size_t size) override {
    if (given_ == head_.size()) return rest_->read(to, size);
    const size_t count = std::min(size, head_.size() - given_);
    std::copy_n(head_.data() + given_, count, to);
    given_ += count;
    return count;
  }
  bool ready() const override { return given_ < head_.size() || rest_->ready(); }

 private:
  std::string head_;
  size_t given_ = 0;
  std::unique_ptr<Source> rest_;
};

/// What a source gives, held until it is used up.
class Held {
 public:
  explicit Held(std::unique_ptr<Source> source) : source_(std::move(source)), bytes_(kBufferSize) {}
  /// More behind what is left. False at the end.
  bool refill() {
    std::memmove(bytes_.data(), bytes_.data() + begin_, size());
    end_ -= std::exchange(begin_, 0);
    const size_t got = source_->read(bytes_.data() + end_, bytes_.size() - end_);
    end_ += got;
    return got != 0;
  }
  const char *data() const { return bytes_.data() + begin_; }
  size_t size() const { return end_ - begin_; }
  void drop(size_t count) { begin_ += count; }
  const Source &source() const { return *source_; }

 private:
  std::unique_ptr<Source> source_;
  std::vector<char> bytes_;
  size_t begin_ = 0, end_ = 0;
};

/// What gzip packed: one member or several, one behind the other.
class Unpacked : public Source {
 public:
  Unpacked(std::unique_ptr<Source> packed, std::string name)
      : packed_(std::move(packed)), name_(std::move(name)) {
    constexpr int kGzipOnly = 16 + MAX_WBITS;
    if (inflateInit2(&stream_, kGzipOnly) != Z_OK) throw std::bad_alloc();
  }
  ~Unpacked() override { inflateEnd(&stream_); }
  Unpacked(const Unpacked &) = delete;
  Unpacked &operator=(const Unpacked &) = delete;

  size_t read(char *to, size_t size) override {
    stream_.next_out = reinterpret_cast<Bytef *>(to);
    stream_.avail_out = static_cast<uInt>(size);
    while (stream_.avail_out == size && size > 0) {
      if (packed_.size() == 0 && !packed_.refill()) {
        if (!between_) fail("ends in the middle of its packed data");
        return 0;
      }
      stream_.next_in = reinterpret_cast<Bytef *>(const_cast<char *>(packed_.data()));
      stream_.avail_in = static_cast<uInt>(packed_.size());
      const int state = inflate(&stream_, Z_NO_FLUSH);
      packed_.drop(packed_.size() - stream_.avail_in);
      between_ = state == Z_STREAM_END;
      if (between_) inflateReset(&stream_);
      else if (state != Z_OK && state != Z_BUF_ERROR) fail("its packed data is damaged");
    }
    return size - stream_.avail_out;
  }
  bool ready() const override { return packed_.size() != 0 || packed_.source().ready(); }

 private:
  [[noreturn]] void fail(const char *what) const { throw Stop(kInputOutput, name_ + ": " + what); }
  Held packed_;
  std::string name_;
  z_stream stream_ = {};
  bool between_ = false;  ///< two members
};

/// UTF-16 as UTF-8; a half of a pair without the other becomes U+FFFD.
class FromUtf16 : public Source {
 public:
  FromUtf16(std::unique_ptr<Source> source, bool bigEndian)
      : units_(std::move(source)), bigEndian_(bigEndian) {}

  size_t read(char *to, size_t size) override {
    if (size < sizeof character_) {  // little room: a character in pieces
      if (given_ == length_) length_ = read(character_, sizeof character_), given_ = 0;
      const size_t count = std::min(size, length_ - given_);
      std::copy_n(character_ + std::exchange(given_, given_ + count), count, to);
      return count;
    }
    if (given_ < length_) return read(to, length_ - given_);
    char *p = to, *const end = to + size;
    while (p == to) {
      while (static_cast<size_t>(end - p) >= sizeof character_ && takeCharacter(p)) continue;
      if (p == to && !units_.refill()) {
        if (units_.size() == 0) return 0;
        put(0xFFFD, p);  // half a unit, or half a pair, at the end
        units_.drop(units_.size());
      }
    }
    return static_cast<size_t>(p - to);
  }
  bool ready() const override {
    return given_ < length_ || units_.size() >= sizeof character_ || units_.source().ready();
  }

 private:
  static bool isHalf(uint32_t unit, uint32_t first) {
    return unit >= first && unit < first + 0x400;
  }
  uint32_t unit(size_t index) const {
    const auto *bytes = reinterpret_cast<const unsigned char *>(units_.data()) + 2 * index;
    return bigEndian_ ? bytes[0] * 256u + bytes[1] : bytes[1] * 256u + bytes[0];
  }
  bool takeCharacter(char *&to) {
    constexpr uint32_t kHigh = 0xD800, kLow = 0xDC00;
    if (units_.size() < 2) return false;
    uint32_t code = unit(0);
    size_t used = 2;
    if (isHalf(code, kHigh)) {
      if (units_.size() < 4) return false;
      if (isHalf(unit(1), kLow)) {
        code = 0x10000 + ((code - kHigh) << 10) + (unit(1) - kLow);
        used = 4;
      } else {
        code = 0xFFFD;
      }
    } else if (isHalf(code, kLow)) {
      code = 0xFFFD;
    }
    put(code, to);
    units_.drop(used);
    return true;
  }
  static void put(uint32_t code, char *&to) {
    if (code < 0x80) {
      *to++ = static_cast<char>(code);
      return;
    }
    const int more = code < 0x800 ? 1 : code < 0x10000 ? 2 : 3;  // bytes behind the first
    *to++ = static_cast<char>((0xFF00u >> (more + 1) & 0xFFu) | code >> (6 * more));
    for (int i = more - 1; i >= 0; --i) *to++ = static_cast<char>(0x80 | (code >> (6 * i) & 0x3F));
  }
  Held units_;
  bool bigEndian_;
  char character_[4];  // the longest; what was read when there was no room for it
  size_t given_ = 0, length_ = 0;
};

constexpr std::string_view kGzip("\x1F\x8B\x08", 3), kUtf8Mark("\xEF\xBB\xBF"),
    kUtf16Little("\xFF\xFE"), kUtf16Big("\xFE\xFF");

/// The first bytes, as many as are needed to recognise one of the marks, or a text of UTF-16
/// without mark: none of them is waited for when those before it rule all out.
std::string firstBytes(Source &source) {
  constexpr size_t kMost = 4;
  const auto maybeMark = [](const std::string &head) {
    for (const std::string_view mark : {kGzip, kUtf8Mark, kUtf16Little, kUtf16Big}) {
      if (head.size() < mark.size() && mark.starts_with(head)) return true;
    }
    return head.find('\0') != std::string::npos && head.size() < kMost;
  };
  std::string head;
  do {
    char bytes[kMost];
    const size_t got = source.read(bytes, kMost - head.size());
    if (got == 0) break;
    head.append(bytes, got);
  } while (maybeMark(head));
  return head;
}

/// Two characters of ASCII, each beside a zero byte: UTF-16 whose mark is left out.
bool alternates(std::string_view head, size_t zeroAt) {
  return head.size() >= 4 && head[zeroAt] == 0 && head[zeroAt + 2] == 0 && head[1 - zeroAt] != 0 &&
         head[3 - zeroAt] != 0;
}

}  // namespace

/// The file itself.
class Input::File : public Source {
 public:
  File(const std::string &path, Range range, Input &input)
      : input_(input), left_(range.end - range.begin), descriptor_(STDIN_FILENO) {
    if (path == "-") return;
    descriptor_ = open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (descriptor_ < 0) fail("cannot open");
    struct stat about;
    if (fstat(descriptor_, &about) == 0 && S_ISREG(about.st_mode))
      input_.size_ = std::min(range.end, int64_t{about.st_size}) - range.begin;
    if (range.begin > 0 && lseek(descriptor_, range.begin, SEEK_SET) < 0) fail("cannot read");
  }
  ~File() override {
    if (descriptor_ > STDERR_FILENO) close(descriptor_);
  }
  File(const File &) = delete;
  File &operator=(const File &) = delete;

  size_t read(char *to, size_t size) override {
    while (true) {
      const ssize_t got =
          ::read(descriptor_, to, static_cast<size_t>(std::min(int64_t(size), left_)));
      if (got >= 0) {
        left_ -= got;
        input_.done_ += got;
        return static_cast<size_t>(got);
      }
      if (errno != EINTR) fail("cannot read");
    }
  }
  bool ready() const override {
    struct pollfd asked = {descriptor_, POLLIN, 0};
    return poll(&asked, 1, 0) != 0;
  }

 private:
  [[noreturn]] void fail(const char *what) const {
    throw Stop(kInputOutput, std::string(what) + " " + input_.name_ + ": " + std::strerror(errno));
  }
  Input &input_;
  int64_t left_;  ///< bytes of the range
  int descriptor_;
};

Input::Input(const std::string &path, Kind kind, const Console &console, Range range)
    : name_(path == "-" ? "<stdin>" : path),
      begin_(range.begin),
      source_(std::make_unique<File>(path, range, *this)) {
  if (range.begin > 0) return;
  std::string head = firstBytes(*source_);
  const auto pushBack = [&] { source_ = std::make_unique<Pushed>(head, std::move(source_)); };
  if (head.starts_with(kGzip)) {
    decodedAs_ = "packed by gzip";
    console.detail(name_ + " is " + decodedAs_);
    pushBack();
    source_ = std::make_unique<Unpacked>(std::move(source_), name_);
    head = firstBytes(*source_);
  }
  const bool little = head.starts_with(kUtf16Little), big = head.starts_with(kUtf16Big);
  if (kind == Kind::kBytes) {
    pushBack();
  } else if (little || big || alternates(head, 1) || alternates(head, 0)) {
    decodedAs_ = "UTF-16";
    console.detail(name_ + " is " + decodedAs_ + "; the results are UTF-8");
    if (little || big) head.erase(0, kUtf16Little.size());
    const bool bigEndian = big || (!little && head[0] == 0);
    pushBack();
    source_ = std::make_unique<FromUtf16>(std::move(source_), bigEndian);
  } else {
    if (head.starts_with(kUtf8Mark)) {
      head.erase(0, kUtf8Mark.size());
      begin_ += static_cast<int64_t>(kUtf8Mark.size());
    }
    pushBack();
  }
}

Input::~Input() = default;

Progress::Progress(const Console &console) : wanted_(!console.quiet && isatty(STDERR_FILENO)) {}

void Progress::show(const Input &input) {
  if (!wanted_ || input.size() <= 0) return;
  const auto now = Clock::now();
  if (now - start_ < std::chrono::seconds(2) || now - last_ < std::chrono::milliseconds(250))
    return;
  last_ = now;
  shown_ = true;
  constexpr size_t kNarrowest = 8, kLongestBar = 50, kUsualWidth = 80;
  const int percent = static_cast<int>(100 * std::min(input.done(), input.size()) / input.size());
  struct winsize window = {};
  const size_t asked = ioctl(STDERR_FILENO, TIOCGWINSZ, &window) == 0 ? window.ws_col : 0;
  const size_t width = std::max(asked ? asked : kUsualWidth, kNarrowest) - 1;
  std::string line = std::to_string(percent) + " %";
  if (const size_t left = width - line.size(); left > kNarrowest) {
    const size_t length = std::min(kLongestBar, left - 3);
    std::string bar(length * static_cast<size_t>(percent) / 100, '#');
    bar.resize(length, '.');
    line = "[" + bar + "] " + line;
  }
  if (const std::string name = printable(input.name()); name.size() + 1 + line.size() <= width)
    line = name + " " + line;
  std::fprintf(stderr, "\r%s", line.c_str());
}

Progress::~Progress() {
  if (shown_) std::fprintf(stderr, "\r\033[K");
}

/// More behind what `text` holds. False at the end.
bool LineReader::fill(std::vector<char> &text, size_t *size) {
  const size_t got = input_.read(text.data() + *size, text.size() - *size);
  progress_.show(input_);
  *size += got;
  if (got == 0) ended_ = true;
  return got != 0;
}

LineReader::Got LineReader::next(std::vector<char> &text, size_t *size) {
  if (text.size() < wanted_) text.resize(wanted_);
  if (text.size() < carry_.size()) text.resize(carry_.size());
  std::copy(carry_.begin(), carry_.end(), text.begin());
  *size = carry_.size();
  carry_.clear();
  size_t whole = 0;  // up to the end of the last whole line
  for (size_t looked = 0; !ended_;) {
    if (const void *last = memrchr(text.data() + looked, '\n', *size - looked))
      whole = static_cast<size_t>(static_cast<const char *>(last) - text.data()) + 1;
    looked = *size;
    const bool full = *size == text.size();
    if (full) wanted_ = kBufferSize;
    if (whole > 0 && (full || !input_.ready())) {
      carry_.assign(text.data() + whole, text.data() + *size);
      *size = whole;
      return Got::kLines;
    }
    if (full && *size >= kLongestLine) return Got::kLongLine;
    if (full) text.resize(std::min(2 * text.size(), kLongestLine));
    fill(text, size);
  }
  return *size > 0 ? Got::kLines : Got::kEnd;
}

bool LineReader::takeRest(std::vector<char> &text, size_t *size) {
  *size = 0;
  if (ended_ || resting_ || !fill(text, size)) return resting_ = false;
  if (const void *end = std::memchr(text.data(), '\n', *size)) {
    const size_t length = static_cast<size_t>(static_cast<const char *>(end) - text.data()) + 1;
    carry_.assign(text.data() + length, text.data() + *size);
    *size = length;
    resting_ = true;
  }
  return true;
}

}  // namespace program
