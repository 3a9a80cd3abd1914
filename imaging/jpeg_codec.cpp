#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <iterator>
#include <utility>

#include "imaging/codecs.h"
// After <cstdio>, whose names it uses.
#include <jerror.h>
#include <jpeglib.h>

namespace imaging {
namespace {

constexpr int kExifMarker = JPEG_APP0 + 1, kIccMarker = JPEG_APP0 + 2;
constexpr std::string_view kExifStart("Exif\0\0", 6);
constexpr size_t kMostMarkerBytes = 65533;

struct Errors : jpeg_error_mgr {
  Trap trap;
};

void Fail(j_common_ptr codec) {
  char reason[JMSG_LENGTH_MAX];
  codec->err->format_message(codec, reason);
  static_cast<Errors*>(codec->err)->trap.Spring(reason);
}

// Warnings that tell of lost pixels are errors; the others are about the manners of the writer.
void Warn(j_common_ptr codec, int level) {
  const int code = codec->err->msg_code;
  if (level < 0 && (code == JWRN_JPEG_EOF || code == JWRN_HIT_MARKER ||
                    code == JWRN_HUFF_BAD_CODE || code == JWRN_MUST_RESYNC)) {
    Fail(codec);
  }
}

// A small file can have so many passes over a large picture that it would take days.
void LimitScans(j_common_ptr codec) {
  constexpr int kMostScans = 500;
  if (codec->is_decompressor &&
      reinterpret_cast<j_decompress_ptr>(codec)->input_scan_number > kMostScans) {
    ERREXIT(codec, JERR_BAD_PROGRESSION);
  }
}

template <class Record, void (*kDestroy)(Record*)>
struct Codec : Record {
  explicit Codec(void (*create)(Record*)) : Record() {
    this->err = jpeg_std_error(&errors);
    errors.error_exit = Fail;
    errors.emit_message = Warn;
    watch.progress_monitor = LimitScans;
    errors.trap.Run([&] { create(this); });
    this->progress = &watch;
  }
  Codec(const Codec&) = delete;
  Codec& operator=(const Codec&) = delete;
  ~Codec() { kDestroy(this); }

  Errors errors;
  jpeg_progress_mgr watch{};
};
using Decoder = Codec<jpeg_decompress_struct, jpeg_destroy_decompress>;
using Encoder = Codec<jpeg_compress_struct, jpeg_destroy_compress>;

// Lets the library fill `room`, and adds that to `bytes`.
struct Sink : jpeg_destination_mgr {
  Sink() : jpeg_destination_mgr() {
    next_output_byte = room;
    free_in_buffer = sizeof room;
    init_destination = [](j_compress_ptr) {};
    empty_output_buffer = [](j_compress_ptr encoder) -> boolean {
      Take(encoder, sizeof room);
      return TRUE;
    };
    term_destination = [](j_compress_ptr encoder) {
      Take(encoder, sizeof room - encoder->dest->free_in_buffer);
    };
  }
  static void Take(j_compress_ptr encoder, size_t count) {
    Sink& sink = *static_cast<Sink*>(encoder->dest);
    if (!Append(sink.bytes, sink.room, count)) ERREXIT1(encoder, JERR_OUT_OF_MEMORY, 0);
    sink.next_output_byte = sink.room;
    sink.free_in_buffer = sizeof sink.room;
  }

  std::string bytes;
  JOCTET room[16384];
};

// Ink, which Adobe stores inverted, to light, in place.
void InkToLight(Image& image, bool inverted) {
  for (sim::Rgba& pixel : image.pixels) {
    const int flip = inverted ? 0 : 255;
    const int black = pixel.alpha ^ flip;
    for (uint8_t* ink : {&pixel.red, &pixel.green, &pixel.blue}) {
      *ink = static_cast<uint8_t>(((*ink ^ flip) * black + 127) / 255);
    }
    pixel.alpha = 255;
  }
}

void ReadMetadata(Decoder& decoder, Metadata& metadata) {
  for (jpeg_saved_marker_ptr marker = decoder.marker_list; marker; marker = marker->next) {
    const std::string_view data(reinterpret_cast<char*>(marker->data), marker->data_length);
    if (marker->marker == kExifMarker && data.starts_with(kExifStart)) {
      metadata.exif = data.substr(kExifStart.size());
    }
  }
  JOCTET* profile = nullptr;
  unsigned count = 0;
  if (jpeg_read_icc_profile(&decoder, &profile, &count)) {
    metadata.icc.assign(reinterpret_cast<char*>(profile), count);
    std::free(profile);
  }
  const bool square = decoder.density_unit == 0 && decoder.X_density == decoder.Y_density;
  if (!decoder.saw_JFIF_marker || square) return;
  const uint32_t scale = decoder.density_unit == 2 ? 100 : 1;  // from centimetres
  constexpr DensityUnit kUnits[] = {DensityUnit::kAspect, DensityUnit::kInch, DensityUnit::kMetre};
  metadata.density = {kUnits[decoder.density_unit % 3], decoder.X_density * scale,
                      decoder.Y_density * scale};
}

void ReadCoding(const Decoder& decoder, JpegCoding& coding) {
  coding.progressive = decoder.progressive_mode;
  if (decoder.num_components != 1 && decoder.num_components != 3) return;
  for (int i = 0; i < decoder.num_components; ++i) {
    const jpeg_component_info& each = decoder.comp_info[i];
    const JQUANT_TBL* const table = each.quant_table;
    if (table == nullptr) throw CodecError("a colour is missing");
    coding.components.push_back({each.quant_tbl_no, each.h_samp_factor, each.v_samp_factor});
    coding.tables[each.quant_tbl_no].assign(table->quantval, std::end(table->quantval));
  }
}

void SetCoding(Encoder& encoder, const JpegCoding& coding) {
  for (size_t i = 0; i < coding.components.size(); ++i) {
    const JpegCoding::Component& from = coding.components[i];
    jpeg_component_info& to = encoder.comp_info[i];
    to.quant_tbl_no = from.table;
    to.h_samp_factor = from.horizontal;
    to.v_samp_factor = from.vertical;
    jpeg_add_quant_table(&encoder, from.table, coding.tables[from.table].data(), 100, FALSE);
  }
}

void SetQuality(Encoder& encoder, int quality) {
  constexpr int kUsual = 95, kMostThinned = 90;
  jpeg_set_quality(&encoder, quality == 0 ? kUsual : quality, TRUE);
  if (quality != 0 && quality <= kMostThinned) return;  // The library then halves the colours.
  encoder.comp_info[0].h_samp_factor = encoder.comp_info[0].v_samp_factor = 1;
}

void SetDensity(Encoder& encoder, Density& density) {
  double scale = 1;
  encoder.density_unit = density.unit == DensityUnit::kInch;
  if (density.unit == DensityUnit::kMetre) {
    const bool centimetres = density.x % 100 == 0 && density.y % 100 == 0;
    encoder.density_unit = centimetres ? 2 : 1;
    scale = centimetres ? 0.01 : 0.0254;
  }
  const long x = std::lround(density.x * scale), y = std::lround(density.y * scale);
  if (x <= 0 || y <= 0 || x > UINT16_MAX || y > UINT16_MAX) {
    density = {};
    encoder.density_unit = 0;
    return;
  }
  encoder.X_density = static_cast<UINT16>(x);
  encoder.Y_density = static_cast<UINT16>(y);
}

// Whether the profile is for such colours; one for inks is not.
bool Describes(std::string_view profile, const JpegCoding& coding) {
  const std::string_view space = profile.substr(std::min<size_t>(profile.size(), 16), 4);
  return space == "RGB " || (space == "GRAY" && coding.components.size() == 1);
}

void WriteMarkers(Encoder& encoder, Metadata& metadata, const std::string& exif) {
  if (!metadata.exif.empty()) {
    jpeg_write_marker(&encoder, kExifMarker, reinterpret_cast<const JOCTET*>(exif.data()),
                      exif.size());
  }
  if (!metadata.icc.empty()) {
    jpeg_write_icc_profile(&encoder, reinterpret_cast<const JOCTET*>(metadata.icc.data()),
                           metadata.icc.size());
  }
}

}  // namespace

Image DecodeJpeg(std::string_view file) {
  Image image;
  Decoder decoder([](j_decompress_ptr record) { jpeg_create_decompress(record); });
  decoder.errors.trap.Run([&] {
    jpeg_mem_src(&decoder, reinterpret_cast<const JOCTET*>(file.data()), file.size());
    for (const int marker : {kExifMarker, kIccMarker}) jpeg_save_markers(&decoder, marker, 0xFFFF);
    jpeg_read_header(&decoder, TRUE);
    CheckSize(decoder.image_width, decoder.image_height);
    const bool ink = decoder.num_components == 4;
    decoder.out_color_space = ink ? JCS_CMYK : JCS_EXT_RGBA;
    jpeg_start_decompress(&decoder);
    image = Image(static_cast<int>(decoder.image_width), static_cast<int>(decoder.image_height));
    while (decoder.output_scanline < decoder.output_height) {
      auto row = reinterpret_cast<JSAMPROW>(image.Row(static_cast<int>(decoder.output_scanline)));
      jpeg_read_scanlines(&decoder, &row, 1);
    }
    ReadMetadata(decoder, image.metadata);
    ReadCoding(decoder, image.metadata.jpeg);
    if (ink) InkToLight(image, decoder.saw_Adobe_marker);
    jpeg_finish_decompress(&decoder);
  });
  return image;
}

std::string EncodeJpeg(Image& image, int quality) {
  Metadata& metadata = image.metadata;
  const JpegCoding& coding = metadata.jpeg;
  metadata.gamma = 0;
  metadata.srgbIntent.reset();
  metadata.chromaticities.reset();
  std::string exif = std::string(kExifStart) + metadata.exif;
  if (exif.size() > kMostMarkerBytes) metadata.exif.clear();
  if (!Describes(metadata.icc, coding)) metadata.icc.clear();
  Sink sink;
  Encoder encoder([](j_compress_ptr record) { jpeg_create_compress(record); });
  encoder.errors.trap.Run([&] {
    encoder.dest = &sink;
    encoder.image_width = image.width;
    encoder.image_height = image.height;
    encoder.input_components = sizeof(sim::Rgba);
    encoder.in_color_space = JCS_EXT_RGBX;
    jpeg_set_defaults(&encoder);
    if (coding.components.size() == 1) jpeg_set_colorspace(&encoder, JCS_GRAYSCALE);
    if (quality == 0 && !coding.components.empty()) {
      SetCoding(encoder, coding);
    } else {
      SetQuality(encoder, quality);
    }
    // So that what was read does not grow; it takes memory that other pictures have no need of.
    encoder.optimize_coding = !coding.components.empty();
    if (coding.progressive) jpeg_simple_progression(&encoder);
    SetDensity(encoder, metadata.density);
    jpeg_start_compress(&encoder, TRUE);
    WriteMarkers(encoder, metadata, exif);
    for (int y = 0; y < image.height; ++y) {
      auto row = reinterpret_cast<JSAMPROW>(image.Row(y));
      jpeg_write_scanlines(&encoder, &row, 1);
    }
    jpeg_finish_compress(&encoder);
  });
  return std::move(sink.bytes);
}

}  // namespace imaging
