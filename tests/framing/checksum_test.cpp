#include "framing/checksum.h"

#include <zvprinter/ZVPrinterC.h>

#include <gtest/gtest.h>

#include <string_view>

namespace {

std::span<const uint8_t> bytesOf(std::string_view text) {
  return {reinterpret_cast<const uint8_t *>(text.data()), text.size()};
}

constexpr std::string_view kCheck = "123456789";

TEST(PrintCrc32, TableIsTheReflectedPolynomialTable) {
  EXPECT_EQ(zv_print_crc32tab[0], 0u);
  EXPECT_EQ(zv_print_crc32tab[1], 0x77073096u);
  EXPECT_EQ(zv_print_crc32tab[128], 0xEDB88320u);
  EXPECT_EQ(zv_print_crc32tab[255], 0x2D02EF8Du);
}

TEST(PrintCrc32, StandardCheckValueAndChaining) {
  const auto check = bytesOf(kCheck);
  EXPECT_EQ(zv_print_crc32(0, check.data(), 9), 0xCBF43926u);
  for (uint32_t split = 0; split <= 9; ++split) {
    const uint32_t first = zv_print_crc32(0, check.data(), split);
    EXPECT_EQ(zv_print_crc32(first, check.data() + split, 9 - split), 0xCBF43926u) << split;
  }
  EXPECT_EQ(zv_print_crc32(0, bytesOf("a").data(), 1), 0xE8B7BE43u);
}

TEST(PrintCrc32, EmptyInputReturnsTheStartValue) {
  EXPECT_EQ(zv_print_crc32(0, nullptr, 0), 0u);
  EXPECT_EQ(zv_print_crc32(0x12345678, bytesOf(kCheck).data(), 0), 0x12345678u);
  EXPECT_EQ(zv_print_crc32(0x12345678, nullptr, 0), 0x12345678u);
}

TEST(FirmwareChecksum, StartsFromZeroInsteadOfAllOnes) {
  const auto check = bytesOf(kCheck);
  EXPECT_EQ(zv::detail::firmwareChecksum(check), 0xD202D277u);
  EXPECT_EQ(zv::detail::firmwareChecksum(check), zv_print_crc32(0xFFFFFFFF, check.data(), 9));
  const uint8_t zero = 0x00;
  const uint8_t one = 0x01;
  EXPECT_EQ(zv::detail::firmwareChecksum({&zero, 1}), 0xFFFFFFFFu);
  EXPECT_EQ(zv::detail::firmwareChecksum({&one, 1}), 0x88F8CF69u);
  EXPECT_EQ(zv::detail::firmwareChecksum({}), 0xFFFFFFFFu);
}

} // namespace
