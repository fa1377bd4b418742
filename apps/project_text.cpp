// oprj project on delimited text: files in blocks of lines, projected by several threads, written
// in their order.
#include <deque>
#include <future>
#include <utility>

#include "project_input.h"
#include "project_lines.h"
#include "shift.h"

namespace program {

class TextJob::Files {
 public:
  Files(const JobParts &parts, const LayoutWishes &wishes, NumberFormat format)
      : parts_(parts), wishes_(wishes), writer_(parts_, format) {
    // one more than run: the one that is read or written meanwhile
    const int hands = parts.threads > 1 ? parts.threads + 1 : 1;
    for (int i = 0; i < hands; ++i)
      free_.push_back(&hands_.emplace_back(std::make_unique<Hand>(parts_, writer_)));
  }

  void run(const std::string &path) {
    try {
      projectFile(path);
    } catch (...) {
      commitAll();  // what was done stays done
      throw;
    }
    commitAll();
  }

 private:
  /// A block and what projects it.
  struct Hand {
    Hand(const JobParts &parts, const LineWriter &writer) : projector(parts, writer) {}
    LineProjector projector;
    Block block;
  };
  struct Running {
    std::unique_ptr<Hand> *hand;
    std::future<void> done;
  };

  void projectFile(const std::string &path) {
    const Range range =
        parts_.part ? rangeOf(path, parts_.part, Input::Kind::kText, parts_.console) : Range();
    Input input(path, Input::Kind::kText, parts_.console, range);
    LineReader reader(input, parts_.console);
    LayoutFinder finder(wishes_, parts_.from, parts_.console);
    file_ = input.name();
    if (range.begin > 0) settleBefore(path, range.begin, finder);
    needsLineFeed_ = unfinished_;
    int64_t line = 1, byte = input.begin() + 1;
    while (true) {
      if (!reader.ready()) commitAll();  // while more is waited for, what is done is shown
      Hand &hand = *free_.back()->get();
      Block &block = hand.block;
      block.out.clear();
      block.told = {};
      block.told.inBytes = static_cast<bool>(parts_.part);
      block.firstLine = line;
      block.firstByte = byte;
      const LineReader::Got got = reader.next(block.text, &block.size);
      if (got == LineReader::Got::kEnd) return;
      byte += static_cast<int64_t>(block.size);
      if (got == LineReader::Got::kLongLine) {
        byte += passLongLine(block, reader, finder.layout());
        ++line;
        continue;
      }
      line += std::count(block.text.data(), block.text.data() + block.size, '\n');
      const size_t settledAt = finder.settled() ? 0 : settle(hand, finder);
      block.layout = finder.layout();
      submit(settledAt);
    }
  }

  /// What the lines in front of a part say of its layout, up to its first byte.
  void settleBefore(const std::string &path, int64_t begin, LayoutFinder &finder) {
    Input input(path, Input::Kind::kText, parts_.console, {0, begin});
    LineReader reader(input, parts_.console);
    std::vector<char> text;
    size_t size;
    for (LineReader::Got got; !finder.settled();) {
      if ((got = reader.next(text, &size)) == LineReader::Got::kEnd) return;
      if (got == LineReader::Got::kLongLine) {
        while (reader.takeRest(text, &size)) continue;
        continue;
      }
      for (const char *p = text.data(), *const end = p + size; p < end && !finder.settled();) {
        if (finder.takeLine(file_, lineAt(p, end, &p).text) == LayoutFinder::Line::kHeader)
          warnOfHeights(finder);
      }
    }
  }

  /// Takes the first lines of a file, until its layout is settled. Returns where the points begin.
  size_t settle(Hand &hand, LayoutFinder &finder) {
    Block &block = hand.block;
    const char *p = block.text.data(), *const end = p + block.size;
    while (p < end && !finder.settled()) {
      const char *next;
      Line line = lineAt(p, end, &next);
      const LayoutFinder::Line kind = finder.takeLine(file_, line.text);
      if (kind == LayoutFinder::Line::kPoint) break;
      const Layout &layout = finder.layout();
      line.at = findCoordinates(line.text, layout.delimiter, layout.xColumn, layout.yColumn);
      if (kind == LayoutFinder::Line::kPassedOn) {
        const bool blank = isBlankLine(line.text);
        ++(blank ? block.told.blanks : block.told.comments);
        block.told.pointsInComments += !blank && finder.pointInComment();
        block.out.put({p, static_cast<size_t>(next - p)});
      } else if (kind == LayoutFinder::Line::kHeader) {
        ++block.told.headers;
        takeHeader(block, line, finder);
      } else {
        const char *reason;
        int64_t column;
        hand.projector.read(line, layout, &reason, &column);
        block.told.failures.push_back(
            {block.place(block.firstLine, p), column, reason ? reason : finder.reason()});
        ++block.told.points;
        writer_.write(block.out, line, layout, {NAN, NAN});
      }
      ++block.firstLine;
      p = next;
    }
    return static_cast<size_t>(p - block.text.data());
  }

  void warnOfHeights(const LayoutFinder &finder) {
    if (finder.heightColumn() >= 0 && !std::exchange(heightsTold_, true) &&
        shiftsBetween(parts_.from, parts_.to))
      parts_.console.warn(file_ + ": the heights in column " +
                          std::to_string(finder.heightColumn() + 1) +
                          " are passed on as they are: heights are not shifted");
  }

  /// Written once for all files whose headers agree.
  void takeHeader(Block &block, const Line &line, const LayoutFinder &finder) {
    warnOfHeights(finder);
    if (hasHeader_ && header_ == line.text) return;
    if (hasHeader_) parts_.console.warn(file_ + ": its header differs from the one before it");
    hasHeader_ = true;
    header_ = line.text;
    writer_.writeHeader(block.out, line, finder.layout());
  }

  /// A line that does not fit into memory's bounds keeps its place with nan. What follows of it is
  /// passed on when its coordinates stand in what was read. Returns its
  /// length.
  int64_t passLongLine(Block &block, LineReader &reader, const Layout &layout) {
    commitAll();
    Line line;
    line.text = {block.text.data(), block.size};
    line.at = findCoordinates(line.text, layout.delimiter, layout.xColumn, layout.yColumn);
    const auto isInside = [&](std::string_view field) {
      return field.data() && field.data() + field.size() < block.text.data() + block.size;
    };
    const bool inside = isInside(line.at.x) && isInside(line.at.y);
    if (!inside) line = {};
    line.lineFeed = !inside;
    writer_.write(block.out, line, layout, {NAN, NAN});
    block.told.points = 1;
    block.told.failures.push_back(
        {block.place(block.firstLine, block.text.data()), 1,
         "the line is longer than " + std::to_string(kLongestLine) + " bytes"});
    commit(block);
    int64_t length = 0;
    while (reader.takeRest(block.text, &block.size)) {
      length += static_cast<int64_t>(block.size);
      if (inside) put({block.text.data(), block.size});
    }
    return length;
  }

  void submit(size_t from) {
    std::unique_ptr<Hand> *const hand = free_.back();
    if (parts_.threads == 1) {
      (*hand)->projector.project((*hand)->block, from);
      commit((*hand)->block);
      return;
    }
    std::unique_ptr<Hand> *done = nullptr;
    if (running_.size() == static_cast<size_t>(parts_.threads)) done = waitForFirst();
    free_.pop_back();
    running_.push_back({hand, std::async(std::launch::async, [hand, from] {
                          (*hand)->projector.project((*hand)->block, from);
                        })});
    if (!done) return;
    free_.push_back(done);
    commit((*done)->block);
  }

  std::unique_ptr<Hand> *waitForFirst() {
    Running first = std::move(running_.front());
    running_.pop_front();
    first.done.get();
    return first.hand;
  }

  void commitAll() {
    while (!running_.empty()) {
      free_.push_back(waitForFirst());
      commit((*free_.back())->block);
    }
  }

  void commit(const Block &block) {
    parts_.tally.add(file_, block.told);
    put(block.out.view());
  }

  void put(std::string_view text) {
    if (text.empty()) return;
    if (std::exchange(needsLineFeed_, false)) parts_.output.put("\n");
    parts_.output.put(text);
    unfinished_ = text.back() != '\n';
  }

  const JobParts parts_;
  const LayoutWishes wishes_;
  const LineWriter writer_;
  std::string file_, header_;
  bool hasHeader_ = false, heightsTold_ = false;
  bool unfinished_ = false;     ///< the output stands behind a line without its end
  bool needsLineFeed_ = false;  ///< which the next file's first line needs
  std::deque<std::unique_ptr<Hand>> hands_;
  std::vector<std::unique_ptr<Hand> *> free_;
  std::deque<Running> running_;  // behind what they work with
};

TextJob::TextJob(const JobParts &parts, const LayoutWishes &wishes, NumberFormat format)
    : files_(std::make_unique<Files>(parts, wishes, format)) {}
TextJob::~TextJob() = default;
void TextJob::run(const std::string &path) { files_->run(path); }

}  // namespace program
