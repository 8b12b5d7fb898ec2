// What speaks against a file being a firmware image. The printer's boot
// loader accepts any frames whose checksums match, so a picture or an
// archive sent by mistake would be written over the firmware.
#include <zvprinter/ZVFirmwareJob.h>
#include <zvprinter/ZVPackProtocol.h>
#include <zvprinter/ZVPrinterC.h>

#include <algorithm>
#include <array>
#include <string_view>

namespace {

struct Signature {
  size_t offset;
  std::string_view bytes;
  const char *what;
};

using namespace std::string_view_literals;

// Formats recognised by their first bytes (or the tar magic at 257).
constexpr std::array kSignatures{
    Signature{0, "\x89PNG\r\n\x1A\n"sv, "a PNG image"},
    Signature{0, "\xFF\xD8\xFF"sv, "a JPEG image"},
    Signature{0, "GIF87a"sv, "a GIF image"},
    Signature{0, "GIF89a"sv, "a GIF image"},
    Signature{0, "II*\0"sv, "a TIFF image"},
    Signature{0, "MM\0*"sv, "a TIFF image"},
    Signature{0, "%PDF-"sv, "a PDF document"},
    Signature{0, "PK\x03\x04"sv, "a ZIP archive"},
    Signature{0, "PK\x05\x06"sv, "a ZIP archive"},
    Signature{0, "\x1F\x8B"sv, "a gzip archive"},
    Signature{0,
              "\xFD"
              "7zXZ\0"sv,
              "an xz archive"},
    Signature{0, "BZh"sv, "a bzip2 archive"},
    Signature{0, "7z\xBC\xAF\x27\x1C"sv, "a 7-Zip archive"},
    Signature{0, "\x28\xB5\x2F\xFD"sv, "a zstd archive"},
    Signature{0, "Rar!\x1A\x07"sv, "a RAR archive"},
    Signature{257, "ustar"sv, "a tar archive"},
};

bool startsWith(const ZVData &data, size_t offset, std::string_view bytes) {
  return data.size() >= offset + bytes.size() &&
         std::equal(bytes.begin(), bytes.end(), data.begin() + static_cast<std::ptrdiff_t>(offset),
                    [](char a, uint8_t b) { return static_cast<uint8_t>(a) == b; });
}

// RIFF containers (WebP, WAV, AVI) and BMP, whose headers state the file's size.
const char *sizedContainer(const ZVData &data) {
  const auto le32 = [&](size_t at) {
    return uint32_t{data[at]} | uint32_t{data[at + 1]} << 8 | uint32_t{data[at + 2]} << 16 |
           uint32_t{data[at + 3]} << 24;
  };
  if (startsWith(data, 0, "RIFF") && data.size() >= 12 && le32(4) + 8u == data.size())
    return startsWith(data, 8, "WEBP") ? "a WebP image" : "a RIFF file (sound or video)";
  if (startsWith(data, 0, "BM") && data.size() >= 6 && le32(2) == data.size()) return "a BMP image";
  return nullptr;
}

// Text: every byte is printable ASCII, white space, or part of valid UTF-8.
bool isText(const ZVData &data) {
  size_t i = 0;
  while (i < data.size()) {
    const uint8_t byte = data[i];
    if (byte < 0x80) {
      if ((byte < 0x20 && byte != '\t' && byte != '\n' && byte != '\r' && byte != '\f') ||
          byte == 0x7F)
        return false;
      ++i;
      continue;
    }
    const size_t length = byte >= 0xF0 && byte <= 0xF4   ? 4
                          : byte >= 0xE0 && byte <= 0xEF ? 3
                          : byte >= 0xC2 && byte <= 0xDF ? 2
                                                         : 0;
    if (length == 0 || i + length > data.size()) return false;
    for (size_t k = 1; k < length; ++k)
      if ((data[i + k] & 0xC0) != 0x80) return false;
    i += length;
  }
  return true;
}

} // namespace

std::optional<std::string> ZVFirmwareJob::refusal(const ZVData &image) {
  if (image.empty()) return "the file is empty";
  for (const auto &signature : kSignatures)
    if (startsWith(image, signature.offset, signature.bytes))
      return std::string("the file is ") + signature.what + ", not firmware";
  if (const char *what = sizedContainer(image))
    return std::string("the file is ") + what + ", not firmware";
  if (isText(image)) return "the file is text, not firmware";
  return std::nullopt;
}

ZVFirmwareImageFacts ZVFirmwareJob::facts(const ZVData &image) {
  ZVFirmwareImageFacts facts;
  facts.bytes = image.size();
  facts.frames = ZVPackProtocol::generateFirmwarePacksWithData(image).size();
  // Standard CRC-32 (as zlib and the crc32 tool give it), to compare with a
  // published checksum.
  uint32_t crc = 0;
  for (size_t at = 0; at < image.size(); at += 1u << 30) {
    const size_t length = std::min<size_t>(image.size() - at, 1u << 30);
    crc = zv_print_crc32(crc, image.data() + at, static_cast<uint32_t>(length));
  }
  facts.crc32 = crc;
  return facts;
}
