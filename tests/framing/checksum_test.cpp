#include "framing/checksum.h"

#include <zvprinter/ZVPrinterC.h>

#include <gtest/gtest.h>

#include <string_view>

namespace {

const uint8_t *bytesOf(std::string_view text) {
  return reinterpret_cast<const uint8_t *>(text.data());
}

TEST(PrintCrc32, CheckValuesChainingAndEmptyInput) {
  const uint8_t *check = bytesOf("123456789");
  EXPECT_EQ(zv_print_crc32(0, check, 9), 0xCBF43926u);
  EXPECT_EQ(zv_print_crc32(0, bytesOf("a"), 1), 0xE8B7BE43u);
  for (uint32_t split = 0; split <= 9; ++split)
    EXPECT_EQ(zv_print_crc32(zv_print_crc32(0, check, split), check + split, 9 - split),
              0xCBF43926u)
        << split;
  EXPECT_EQ(zv_print_crc32(0x12345678, check, 0), 0x12345678u);
  EXPECT_EQ(zv_print_crc32(0x12345678, nullptr, 0), 0x12345678u);
}

TEST(FirmwareChecksum, StartsFromZeroInsteadOfAllOnes) {
  const std::span<const uint8_t> check(bytesOf("123456789"), 9);
  EXPECT_EQ(zv::detail::firmwareChecksum(check), 0xD202D277u);
  EXPECT_EQ(zv::detail::firmwareChecksum(check), zv_print_crc32(0xFFFFFFFF, check.data(), 9));
  const uint8_t bytes[2] = {0x00, 0x01};
  EXPECT_EQ(zv::detail::firmwareChecksum({bytes, 1}), 0xFFFFFFFFu);
  EXPECT_EQ(zv::detail::firmwareChecksum({bytes + 1, 1}), 0x88F8CF69u);
  EXPECT_EQ(zv::detail::firmwareChecksum({}), 0xFFFFFFFFu);
}

} // namespace
