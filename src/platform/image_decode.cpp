// Decoding by content, and the receiver that keeps a whole image.
#include "platform/image_codec.h"

#include <new>

namespace zv::detail {

namespace {

class WholeImage final : public PixelReceiver {
public:
  explicit WholeImage(DecodedPixels &out) : out_(out) {}

  uint8_t *begin(uint32_t width, uint32_t height, bool) override {
    out_.width = width;
    out_.height = height;
    try {
      out_.rgba.resize(size_t{width} * height * 4);
    } catch (const std::bad_alloc &) {
      return nullptr;
    }
    return out_.rgba.data();
  }
  void rowsDone(uint32_t) override {}

private:
  DecodedPixels &out_;
};

} // namespace

bool decodeInto(std::span<const uint8_t> bytes, PixelReceiver &receiver, DecodeError &error) {
  if (looksLikePNG(bytes)) return decodePNG(bytes, receiver, error);
  if (looksLikeJPEG(bytes)) return decodeJPEG(bytes, receiver, error);
  error = bytes.empty() ? "empty file" : "not a PNG or JPEG image";
  return false;
}

std::optional<DecodedPixels> decodeWhole(std::span<const uint8_t> bytes, DecodeError &error) {
  DecodedPixels out;
  WholeImage receiver(out);
  if (!decodeInto(bytes, receiver, error)) return std::nullopt;
  return out;
}

} // namespace zv::detail
