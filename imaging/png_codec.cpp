#include <png.h>

#include "imaging/codecs.h"

namespace imaging {
namespace {

void Fail(png_structp png, png_const_charp reason) {
  static_cast<Trap*>(png_get_error_ptr(png))->Spring(reason);
}

void Ignore(png_structp, png_const_charp) {}

void Read(png_structp png, png_bytep to, size_t count) {
  auto& rest = *static_cast<std::string_view*>(png_get_io_ptr(png));
  if (count > rest.size()) png_error(png, "it ends early");
  std::memcpy(to, rest.data(), count);
  rest.remove_prefix(count);
}

void Write(png_structp png, png_bytep from, size_t count) {
  if (!Append(*static_cast<std::string*>(png_get_io_ptr(png)), from, count)) {
    png_error(png, "out of memory");
  }
}

// The library's two records; what they are for is the constructor's choice.
struct Png {
  explicit Png(bool read) : reads(read) {
    png = (reads ? png_create_read_struct : png_create_write_struct)(PNG_LIBPNG_VER_STRING, &trap,
                                                                     Fail, Ignore);
    info = png == nullptr ? nullptr : png_create_info_struct(png);
    if (info == nullptr) throw std::bad_alloc();
  }
  Png(const Png&) = delete;
  Png& operator=(const Png&) = delete;
  ~Png() {
    reads ? png_destroy_read_struct(&png, &info, nullptr) : png_destroy_write_struct(&png, &info);
  }

  Trap trap;
  bool reads;
  png_structp png;
  png_infop info;
};

// A file of few bytes may speak of many pixels: memory is taken only for those that it can have.
void CheckLength(png_structp png, png_infop info, size_t fileBytes) {
  constexpr uint64_t kMostDeflated = 1032;  // bytes that one byte can stand for
  const uint64_t bytes = uint64_t{png_get_rowbytes(png, info)} * png_get_image_height(png, info);
  if (bytes / kMostDeflated > fileBytes) png_error(png, "it ends early");
}

void ReadPixels(png_structp png, png_infop info, Image& image) {
  png_set_expand(png);
  png_set_strip_16(png);
  png_set_gray_to_rgb(png);
  png_set_add_alpha(png, 0xFF, PNG_FILLER_AFTER);
  const int passes = png_set_interlace_handling(png);
  png_read_update_info(png, info);
  for (int pass = 0; pass < passes; ++pass) {
    for (int y = 0; y < image.height; ++y) {
      png_read_row(png, reinterpret_cast<png_bytep>(image.Row(y)), nullptr);
    }
  }
  png_read_end(png, info);
}

void ReadMetadata(png_structp png, png_infop info, Metadata& metadata) {
  png_charp name;
  png_bytep bytes;
  png_uint_32 count;
  int number;
  if (png_get_iCCP(png, info, &name, &number, &bytes, &count)) {
    metadata.icc.assign(reinterpret_cast<char*>(bytes), count);
  }
  if (png_get_eXIf_1(png, info, &count, &bytes)) {
    metadata.exif.assign(reinterpret_cast<char*>(bytes), count);
  }
  Density& density = metadata.density;
  if (png_get_pHYs(png, info, &density.x, &density.y, &number)) {
    density.unit = number == PNG_RESOLUTION_METER ? DensityUnit::kMetre : DensityUnit::kAspect;
  }
  png_get_gAMA_fixed(png, info, &metadata.gamma);
  if (png_get_sRGB(png, info, &number)) metadata.srgbIntent = number;
  std::array<int, 8> c;
  if (png_get_cHRM_fixed(png, info, &c[0], &c[1], &c[2], &c[3], &c[4], &c[5], &c[6], &c[7])) {
    metadata.chromaticities = c;
  }
}

void SetMetadata(png_structp png, png_infop info, Metadata& metadata) {
  png_set_benign_errors(png, 1);  // Profiles that it thinks little of are left out.
  const auto bytes = [](std::string& text) { return reinterpret_cast<png_bytep>(text.data()); };
  if (!metadata.icc.empty()) {
    png_set_iCCP(png, info, "ICC profile", PNG_COMPRESSION_TYPE_BASE, bytes(metadata.icc),
                 metadata.icc.size());
    if (png_get_valid(png, info, PNG_INFO_iCCP) == 0) metadata.icc.clear();
  }
  if (!metadata.exif.empty()) {
    png_set_eXIf_1(png, info, metadata.exif.size(), bytes(metadata.exif));
  }
  if (const Density density = metadata.density.PerMetre(); density.unit != DensityUnit::kNone) {
    png_set_pHYs(png, info, density.x, density.y, density.unit == DensityUnit::kMetre);
  }
  if (metadata.gamma != 0) png_set_gAMA_fixed(png, info, metadata.gamma);
  if (metadata.chromaticities) {
    const std::array<int, 8>& c = *metadata.chromaticities;
    png_set_cHRM_fixed(png, info, c[0], c[1], c[2], c[3], c[4], c[5], c[6], c[7]);
  }
  if (metadata.srgbIntent) png_set_sRGB(png, info, *metadata.srgbIntent);
}

}  // namespace

Image DecodePng(std::string_view file) {
  Image image;
  Png reader(true);
  png_structp png = reader.png;
  png_infop info = reader.info;
  const size_t fileBytes = file.size();
  reader.trap.Run([&] {
    png_set_crc_action(png, PNG_CRC_ERROR_QUIT, PNG_CRC_ERROR_QUIT);
    png_set_read_fn(png, &file, Read);
    png_read_info(png, info);
    const uint32_t width = png_get_image_width(png, info), height = png_get_image_height(png, info);
    CheckSize(width, height);
    CheckLength(png, info, fileBytes);
    image = Image(width, height);
    image.hasAlpha = (png_get_color_type(png, info) & PNG_COLOR_MASK_ALPHA) != 0 ||
                     png_get_valid(png, info, PNG_INFO_tRNS) != 0;
    image.sixteenBits = png_get_bit_depth(png, info) == 16;
    ReadPixels(png, info, image);
    ReadMetadata(png, info, image.metadata);
  });
  return image;
}

std::string EncodePng(Image& image) {
  constexpr int kLevel = 4;  // The next one takes half as long again for a hundredth of the size.
  std::string bytes;
  Png writer(false);
  png_structp png = writer.png;
  writer.trap.Run([&] {
    png_set_write_fn(png, &bytes, Write, nullptr);
    png_set_IHDR(png, writer.info, image.width, image.height, 8,
                 image.hasAlpha ? PNG_COLOR_TYPE_RGBA : PNG_COLOR_TYPE_RGB, PNG_INTERLACE_NONE,
                 PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
    png_set_compression_level(png, kLevel);
    SetMetadata(png, writer.info, image.metadata);
    png_write_info(png, writer.info);
    if (!image.hasAlpha) png_set_filler(png, 0, PNG_FILLER_AFTER);
    for (int y = 0; y < image.height; ++y) {
      png_write_row(png, reinterpret_cast<png_const_bytep>(image.Row(y)));
    }
    png_write_end(png, writer.info);
  });
  return bytes;
}

}  // namespace imaging
