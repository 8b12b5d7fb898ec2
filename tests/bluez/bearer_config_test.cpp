// What decides the write path of a BlueZ link: bluetoothd's bearer setting
// and the printer's GATT Server Supported Features.
#include "backends/bluez/bearer_config.h"

#include <gtest/gtest.h>

#include <optional>

namespace {

TEST(BearerConfig, OnlyAValidChannelsKeyOfTheGattSectionCounts) {
  struct Case {
    const char *text;
    std::optional<int> channels;
  };
  for (const auto &[text, channels] : {
           Case{"", std::nullopt},
           Case{"[GATT]\n#Channels = 1\n", std::nullopt}, // BlueZ's shipped file: default
           Case{"[GATT]\nChannels = 1\n", 1},
           Case{"[General]\nChannels = 1\n[GATT]\nCache = always\n", std::nullopt},
           Case{"[GATT]\r\n  Channels=3 \r\n", 3},
           Case{"[GATT]\nChannels = 1\n[LE]\nChannels = 5\n", 1},
           Case{"[GATT]\nChannels = 1\nChannels = 2\n", 2}, // the last one counts
           Case{"[GATT]\nChannels = 1\nChannels = 9\n", std::nullopt},
           Case{"[GATT]\nChannels = 1x\n", std::nullopt},
           Case{"[GATT]\nChannels = 0\n", std::nullopt},
       }) {
    EXPECT_EQ(zv::detail::gattChannels(text), channels) << text;
  }
  EXPECT_EQ(zv::detail::gattChannelsOfFile("/nonexistent/main.conf"), std::nullopt);
}

TEST(BearerConfig, EnhancedAttIsBitZeroOfTheFirstOctet) {
  EXPECT_TRUE(zv::detail::announcesEnhancedAtt({0x01}));
  EXPECT_TRUE(zv::detail::announcesEnhancedAtt({0x03, 0x00}));
  EXPECT_FALSE(zv::detail::announcesEnhancedAtt({0x02}));
  EXPECT_FALSE(zv::detail::announcesEnhancedAtt({}));
}

} // namespace
