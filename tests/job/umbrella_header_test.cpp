// The umbrella header alone gives an application the whole public API: the
// described classes, our print layer and the backends.
#include <zvprinter/ZVPrinterSDK.h>

#include <gtest/gtest.h>

#include <type_traits>

TEST(UmbrellaHeader, ReachesEveryTierOfThePublicApi) {
  EXPECT_TRUE(std::is_class_v<ZVDataDispatcher>);
  EXPECT_TRUE(std::is_class_v<ZVFirmwareDispatcher>);
  EXPECT_TRUE(std::is_class_v<ZVPrintJob>);
  EXPECT_TRUE(std::is_class_v<ZVFirmwareJob>);
  EXPECT_TRUE(std::is_class_v<ZVPrinterQuery>);
  EXPECT_TRUE(std::is_class_v<ZVJobResult>);
  EXPECT_TRUE(std::is_class_v<ZVBluezCentral>);
  EXPECT_TRUE(std::is_class_v<ZVSimCentral>);
}
