// The module that is linked with libtiff: images in, images out, nothing about grids.
#include "datum/grids/tiff_module.h"

#include <tiffio.h>

#include <algorithm>
#include <cstdarg>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <memory>
#include <new>

namespace orvik::oprj {

namespace {

enum GeoTag : uint32_t {
  kPixelScale = 33550,
  kTiePoints = 33922,
  kMatrix = 34264,
  kGeoKeys = 34735,
  kMetadata = 42112,
  kNoValue = 42113,
};

/// A file in memory, and what libtiff said last.
struct Memory {
  const unsigned char *given = nullptr;  ///< read from here, or
  std::string *made = nullptr;           ///< written to here
  uint64_t size = 0, position = 0;
  std::string said;

  uint64_t length() const { return made ? made->size() : size; }
};
Memory &memoryOf(thandle_t handle) { return *static_cast<Memory *>(handle); }

tmsize_t readBytes(thandle_t handle, void *to, tmsize_t count) {
  Memory &m = memoryOf(handle);
  if (m.position >= m.length()) return 0;
  const uint64_t there = std::min<uint64_t>(static_cast<uint64_t>(count), m.length() - m.position);
  const void *from = m.made ? static_cast<const void *>(m.made->data() + m.position)
                            : static_cast<const void *>(m.given + m.position);
  std::memcpy(to, from, there);
  m.position += there;
  return static_cast<tmsize_t>(there);
}

tmsize_t writeBytes(thandle_t handle, void *from, tmsize_t count) {
  Memory &m = memoryOf(handle);
  const uint64_t end = m.position + static_cast<uint64_t>(count);
  if (!m.made || end > static_cast<uint64_t>(kMostTiffBytes) * 2) return -1;
  if (end > m.made->size()) {
    try {
      m.made->resize(end);
    } catch (const std::bad_alloc &) {  // must not pass libtiff
      return -1;
    }
  }
  std::memcpy(m.made->data() + m.position, from, static_cast<size_t>(count));
  m.position = end;
  return count;
}

toff_t seek(thandle_t handle, toff_t offset, int whence) {
  Memory &m = memoryOf(handle);
  m.position = offset + (whence == SEEK_CUR   ? m.position
                         : whence == SEEK_END ? m.length()
                                              : toff_t{0});
  return m.position;
}

int closeNothing(thandle_t) { return 0; }
toff_t sizeOf(thandle_t handle) { return memoryOf(handle).length(); }

int keepError(TIFF *, void *memory, const char *, const char *format, va_list values) {
  char text[256];
  std::vsnprintf(text, sizeof text, format, values);
  static_cast<Memory *>(memory)->said = text;
  return 1;  // and nothing is printed
}
int dropWarning(TIFF *, void *, const char *, const char *, va_list) { return 1; }

struct CloseTiff {
  void operator()(TIFF *tiff) const { TIFFClose(tiff); }
};
using OwnedTiff = std::unique_ptr<TIFF, CloseTiff>;

OwnedTiff openTiff(Memory &memory, const char *mode) {
  constexpr tmsize_t kMostAtOnce = 256 << 20;  // bytes
  const std::unique_ptr<TIFFOpenOptions, decltype(&TIFFOpenOptionsFree)> options(
      TIFFOpenOptionsAlloc(), TIFFOpenOptionsFree);
  if (!options) return nullptr;
  TIFFOpenOptionsSetMaxSingleMemAlloc(options.get(), kMostAtOnce);
  TIFFOpenOptionsSetErrorHandlerExtR(options.get(), keepError, &memory);
  TIFFOpenOptionsSetWarningHandlerExtR(options.get(), dropWarning, &memory);
  return OwnedTiff(TIFFClientOpenExt("grid", mode, &memory, readBytes, writeBytes, seek,
                                     closeNothing, sizeOf, nullptr, nullptr, options.get()));
}

/// The values of a tag that libtiff does not know itself, if they are of the type. Others in the
/// process may have told it of the tag: then the count has the width that they chose.
template <class T>
std::vector<T> tagValues(TIFF *tiff, uint32_t tag, TIFFDataType type) {
  const TIFFField *field = TIFFFindField(tiff, tag, TIFF_ANY);
  if (!field || TIFFFieldDataType(field) != type || !TIFFFieldPassCount(field)) return {};
  const T *values = nullptr;
  uint32_t wide = 0;
  uint16_t narrow = 0;
  bool found = false;
  if (TIFFFieldReadCount(field) == TIFF_VARIABLE2) found = TIFFGetField(tiff, tag, &wide, &values);
  else if (TIFFFieldReadCount(field) == TIFF_VARIABLE)
    found = TIFFGetField(tiff, tag, &narrow, &values);
  if (!found || !values) return {};
  return {values, values + wide + narrow};
}

std::string tagText(TIFF *tiff, uint32_t tag) {
  const TIFFField *field = TIFFFindField(tiff, tag, TIFF_ANY);
  if (field && TIFFFieldDataType(field) == TIFF_ASCII && !TIFFFieldPassCount(field)) {
    const char *text = nullptr;  // ended by libtiff
    return TIFFGetField(tiff, tag, &text) && text ? text : "";
  }
  const std::vector<char> text = tagValues<char>(tiff, tag, TIFF_ASCII);
  return {text.begin(), std::find(text.begin(), text.end(), '\0')};
}

/// A stored number.
double numberOf(const unsigned char *at, uint16_t format, uint16_t bits) {
  const auto as = [&](auto value) {
    std::memcpy(&value, at, sizeof value);
    return static_cast<double>(value);
  };
  switch (format * 100 + bits) {
    case SAMPLEFORMAT_UINT * 100 + 8:
      return as(uint8_t{});
    case SAMPLEFORMAT_UINT * 100 + 16:
      return as(uint16_t{});
    case SAMPLEFORMAT_UINT * 100 + 32:
      return as(uint32_t{});
    case SAMPLEFORMAT_INT * 100 + 8:
      return as(int8_t{});
    case SAMPLEFORMAT_INT * 100 + 16:
      return as(int16_t{});
    case SAMPLEFORMAT_INT * 100 + 32:
      return as(int32_t{});
    case SAMPLEFORMAT_IEEEFP * 100 + 32:
      return as(float{});
    default:
      return as(double{});
  }
}
bool isStored(uint16_t format, uint16_t bits) {
  if (format == SAMPLEFORMAT_IEEEFP) return bits == 32 || bits == 64;
  return (format == SAMPLEFORMAT_UINT || format == SAMPLEFORMAT_INT) &&
         (bits == 8 || bits == 16 || bits == 32);
}

/// Tiles or strips: both are blocks of pixels.
struct Blocks {
  bool tiled;
  uint32_t width, height;
};

bool decode(TIFF *tiff, TiffImage &image) {
  uint16_t bits = 1, format = SAMPLEFORMAT_UINT, planes = PLANARCONFIG_CONTIG;
  TIFFGetFieldDefaulted(tiff, TIFFTAG_BITSPERSAMPLE, &bits);
  TIFFGetFieldDefaulted(tiff, TIFFTAG_SAMPLEFORMAT, &format);
  TIFFGetFieldDefaulted(tiff, TIFFTAG_PLANARCONFIG, &planes);
  if (!isStored(format, bits)) return false;
  const auto width = static_cast<uint32_t>(image.width);
  const auto height = static_cast<uint32_t>(image.height);
  Blocks blocks{TIFFIsTiled(tiff) != 0, width, height};
  if (blocks.tiled) {
    if (!TIFFGetField(tiff, TIFFTAG_TILEWIDTH, &blocks.width) ||
        !TIFFGetField(tiff, TIFFTAG_TILELENGTH, &blocks.height))
      return false;
  } else {
    TIFFGetFieldDefaulted(tiff, TIFFTAG_ROWSPERSTRIP, &blocks.height);
    blocks.height = std::min(blocks.height, height);
  }
  if (blocks.width == 0 || blocks.height == 0) return false;
  const bool separate = planes == PLANARCONFIG_SEPARATE;
  const auto samples = static_cast<uint32_t>(image.samples);
  const uint32_t inBlock = separate ? 1 : samples;
  const uint64_t pixelBytes = uint64_t{inBlock} * bits / 8, rowBytes = pixelBytes * blocks.width;
  const tmsize_t blockBytes = blocks.tiled ? TIFFTileSize(tiff) : TIFFStripSize(tiff);
  constexpr tmsize_t kMostBlock = 256 << 20;  // bytes
  if (blockBytes <= 0 || blockBytes > kMostBlock ||
      static_cast<uint64_t>(blockBytes) < rowBytes * blocks.height)
    return false;
  std::vector<unsigned char> block(static_cast<size_t>(blockBytes));
  const uint64_t plane = uint64_t{width} * height;
  image.values.resize(plane * samples);

  for (uint32_t sample = 0; sample < (separate ? samples : 1); ++sample) {
    for (uint32_t top = 0; top < height; top += blocks.height) {
      for (uint32_t left = 0; left < width; left += blocks.width) {
        const auto plain = static_cast<uint16_t>(sample);
        const tmsize_t got =
            blocks.tiled ? TIFFReadEncodedTile(tiff, TIFFComputeTile(tiff, left, top, 0, plain),
                                               block.data(), blockBytes)
                         : TIFFReadEncodedStrip(tiff, TIFFComputeStrip(tiff, top, plain),
                                                block.data(), blockBytes);
        const uint32_t rows = std::min(blocks.height, height - top);
        const uint32_t columns = std::min(blocks.width, width - left);
        if (got < 0 || static_cast<uint64_t>(got) < rowBytes * rows) return false;
        for (uint32_t y = 0; y < rows; ++y) {
          const unsigned char *at = block.data() + rowBytes * y;
          for (uint32_t x = 0; x < columns; ++x) {
            for (uint32_t s = 0; s < inBlock; ++s, at += bits / 8)
              image.values[plane * (sample + s) + uint64_t{width} * (top + y) + left + x] =
                  static_cast<float>(numberOf(at, format, bits));
          }
        }
        // what the file does not store stays 0 in the buffer of the next block otherwise
        std::fill(block.begin(), block.end(), static_cast<unsigned char>(0));
      }
    }
  }
  return true;
}

bool read(const unsigned char *bytes, int64_t size, std::string &reason,
          const std::function<bool(TiffImage &)> &take) {
  Memory memory{bytes, nullptr, static_cast<uint64_t>(size), 0, {}};
  const OwnedTiff tiff = openTiff(memory, "rm");  // no mapping of its own
  const auto fail = [&](const char *what) {
    reason = what + (memory.said.empty() ? std::string() : ": " + memory.said);
    return false;
  };
  if (!tiff) return fail("libtiff cannot open it");
  int64_t decoded = 0;
  do {
    uint32_t kind = 0, width = 0, height = 0;
    uint16_t samples = 1;
    TIFFGetFieldDefaulted(tiff.get(), TIFFTAG_SUBFILETYPE, &kind);
    if (kind & (FILETYPE_REDUCEDIMAGE | FILETYPE_MASK)) continue;
    TIFFGetField(tiff.get(), TIFFTAG_IMAGEWIDTH, &width);
    TIFFGetField(tiff.get(), TIFFTAG_IMAGELENGTH, &height);
    TIFFGetFieldDefaulted(tiff.get(), TIFFTAG_SAMPLESPERPIXEL, &samples);
    constexpr uint32_t kMost = 1 << 28;
    if (width < 1 || height < 1 || samples < 1 || width > kMost || height > kMost)
      return fail("an image without numbers");
    const double wanted = double{sizeof(float)} * width * height * samples;
    if (wanted > static_cast<double>(kMostTiffBytes - decoded))
      return fail("its numbers would take more than 1 GiB of memory");
    decoded += static_cast<int64_t>(wanted);
    if (decoded / kMostTiffRatio > size) return fail("its images are larger than it can hold");
    TiffImage image;
    image.width = static_cast<int32_t>(width);
    image.height = static_cast<int32_t>(height);
    image.samples = samples;
    image.pixelScale = tagValues<double>(tiff.get(), kPixelScale, TIFF_DOUBLE);
    image.tiePoints = tagValues<double>(tiff.get(), kTiePoints, TIFF_DOUBLE);
    image.matrix = tagValues<double>(tiff.get(), kMatrix, TIFF_DOUBLE);
    image.geoKeys = tagValues<uint16_t>(tiff.get(), kGeoKeys, TIFF_SHORT);
    image.metadata = tagText(tiff.get(), kMetadata);
    image.noValue = tagText(tiff.get(), kNoValue);
    if (!decode(tiff.get(), image)) return fail("an image cannot be decoded");
    if (!take(image)) return false;
  } while (TIFFReadDirectory(tiff.get()));
  return memory.said.empty() || fail("an image cannot be read");
}

bool write(std::string &bytes, std::string &reason, const std::function<bool(TiffImage &)> &next) {
  constexpr TIFFFieldInfo kFields[] = {
      {kPixelScale, -1, -1, TIFF_DOUBLE, FIELD_CUSTOM, 1, 1, const_cast<char *>("PixelScale")},
      {kTiePoints, -1, -1, TIFF_DOUBLE, FIELD_CUSTOM, 1, 1, const_cast<char *>("TiePoints")},
      {kGeoKeys, -1, -1, TIFF_SHORT, FIELD_CUSTOM, 1, 1, const_cast<char *>("GeoKeys")},
      {kMetadata, -1, -1, TIFF_ASCII, FIELD_CUSTOM, 1, 0, const_cast<char *>("Metadata")},
  };
  constexpr uint32_t kRowsPerStrip = 64;
  Memory memory{nullptr, &bytes, 0, 0, {}};
  const OwnedTiff tiff = openTiff(memory, "wl");
  bool good = tiff != nullptr;
  TIFF *const to = tiff.get();
  for (TiffImage image; good && next(image); image = TiffImage()) {
    TIFFMergeFieldInfo(to, kFields, std::size(kFields));
    const auto set = [&](uint32_t tag, auto... values) {
      good = good && TIFFSetField(to, tag, values...);
    };
    const auto height = static_cast<uint32_t>(image.height);
    set(TIFFTAG_IMAGEWIDTH, image.width);
    set(TIFFTAG_IMAGELENGTH, image.height);
    set(TIFFTAG_SAMPLESPERPIXEL, image.samples);
    set(TIFFTAG_BITSPERSAMPLE, 32);
    set(TIFFTAG_SAMPLEFORMAT, SAMPLEFORMAT_IEEEFP);
    set(TIFFTAG_PHOTOMETRIC, PHOTOMETRIC_MINISBLACK);
    if (image.samples > 1) {
      const std::vector<uint16_t> extra(static_cast<size_t>(image.samples - 1),
                                        EXTRASAMPLE_UNSPECIFIED);
      set(TIFFTAG_EXTRASAMPLES, static_cast<int>(extra.size()), extra.data());
    }
    set(TIFFTAG_PLANARCONFIG, PLANARCONFIG_SEPARATE);
    set(TIFFTAG_COMPRESSION, COMPRESSION_ADOBE_DEFLATE);
    set(TIFFTAG_PREDICTOR, PREDICTOR_FLOATINGPOINT);
    set(TIFFTAG_ROWSPERSTRIP, kRowsPerStrip);
    set(kPixelScale, static_cast<int>(image.pixelScale.size()), image.pixelScale.data());
    set(kTiePoints, static_cast<int>(image.tiePoints.size()), image.tiePoints.data());
    set(kGeoKeys, static_cast<int>(image.geoKeys.size()), image.geoKeys.data());
    set(kMetadata, image.metadata.c_str());
    const uint64_t plane = static_cast<uint64_t>(image.width) * height;
    for (int32_t sample = 0; good && sample < image.samples; ++sample) {
      for (uint32_t top = 0; good && top < height; top += kRowsPerStrip) {
        const uint64_t rows = std::min(kRowsPerStrip, height - top);
        float *from = image.values.data() + plane * static_cast<uint64_t>(sample) +
                      static_cast<uint64_t>(image.width) * top;
        good =
            TIFFWriteEncodedStrip(
                to, TIFFComputeStrip(to, top, static_cast<uint16_t>(sample)), from,
                static_cast<tmsize_t>(rows * static_cast<uint64_t>(image.width) * sizeof(float))) >
            0;
      }
    }
    good = good && TIFFWriteDirectory(to);
  }
  if (!good) reason = memory.said.empty() ? "libtiff cannot write it" : memory.said;
  return good;
}

}  // namespace
}  // namespace orvik::oprj

extern "C" [[gnu::visibility("default")]] const orvik::oprj::TiffModule oprj_TiffModule;
const orvik::oprj::TiffModule oprj_TiffModule = {orvik::oprj::read, orvik::oprj::write};
