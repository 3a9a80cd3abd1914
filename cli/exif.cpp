#include "cli/exif.h"

#include <libexif/exif-data.h>

#include <memory>

namespace velhost {

int ExifOrientation(std::string_view file) {
  const std::unique_ptr<ExifData, decltype(&exif_data_unref)> data(
      exif_data_new_from_data(reinterpret_cast<const unsigned char*>(file.data()),
                              static_cast<unsigned>(file.size())),
      exif_data_unref);
  if (!data) return 1;
  const ExifEntry* const entry =
      exif_content_get_entry(data->ifd[EXIF_IFD_0], EXIF_TAG_ORIENTATION);
  if (entry == nullptr || entry->format != EXIF_FORMAT_SHORT || entry->components < 1) return 1;
  const int orientation = exif_get_short(entry->data, exif_data_get_byte_order(data.get()));
  return orientation >= 1 && orientation <= 8 ? orientation : 1;
}

}  // namespace velhost
