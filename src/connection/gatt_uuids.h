#pragma once

// The services and characteristics of the two printer modules, in the
// canonical form the Bluetooth port reports them (see ZVBleUUIDString).

namespace zv::detail::uuids {

inline constexpr const char *kIsscService = "49535343-FE7D-4AE5-8FA9-9FAFD205E455";
inline constexpr const char *kIsscRead = "49535343-1E4D-4BD9-BA61-23C647249616";
inline constexpr const char *kIsscWrite = "49535343-8841-43F4-A8D4-ECBE34729BB3";
inline constexpr const char *kDeviceInformation = "180A";
inline constexpr const char *kModelNumber = "2A24";
inline constexpr const char *kIvtService = "FF00";
inline constexpr const char *kIvtRead = "FF01";
inline constexpr const char *kIvtWrite = "FF02";
inline constexpr const char *kIvtFlowControl = "FF03";

} // namespace zv::detail::uuids
