// What the GeoTIFF reader takes from the module that is linked with libtiff. A module of its own,
// loaded when the first TIFF file is opened: libtiff brings nine libraries of compression along,
// which would take longer to load than the program itself.
#ifndef OPRJ_DATUM_TIFF_MODULE_H
#define OPRJ_DATUM_TIFF_MODULE_H

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace orvik::oprj {

/// One image of a file: its numbers and what its tags say.
struct TiffImage {
  int32_t width = 0, height = 0, samples = 0;
  /// Geographic tags, empty where they are not there: sizes of pixels, tie points, matrix.
  std::vector<double> pixelScale, tiePoints, matrix;
  std::vector<uint16_t> geoKeys;
  std::string metadata;  ///< XML of the tag 42112
  std::string noValue;   ///< of the tag 42113
  /// One sample's plane behind the other, rows from the top.
  std::vector<float> values;
};

struct TiffModule {
  /// Reads the images of a file but those of lower resolution and masks; `take` gets each in turn
  /// and may refuse. False with the reason.
  bool (*read)(const unsigned char *bytes, int64_t size, std::string &reason,
               const std::function<bool(TiffImage &image)> &take);
  /// Writes images (float32, deflate) to `bytes`; `next` fills one in turn, false behind the last.
  bool (*write)(std::string &bytes, std::string &reason,
                const std::function<bool(TiffImage &image)> &next);
};

inline constexpr const char *kTiffModule = "liboPrjTiff.so", *kTiffModuleTable = "oprj_TiffModule";
/// Decoded numbers of a file take no more, nor more than so many times the file's own bytes.
inline constexpr int64_t kMostTiffBytes = int64_t{1} << 30, kMostTiffRatio = 4096;

}  // namespace orvik::oprj

#endif
