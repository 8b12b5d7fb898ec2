#include <zvprinter/ZVConnectInterface.h>

ZVError ZVConnectErrorMake(int64_t code, bool refused) {
  ZVError error{ZVConnectErrorDomain, code, {}};
  switch (code) {
  case ZVConnectErrorServiceTimeout:
    error.localizedDescription =
        "连接超时，一般是未能发现蓝牙服务和特征，导致连接超时，请重启打印机";
    break;
  case ZVConnectErrorNoPeripheral:
    error.localizedDescription = "没有外设对象";
    break;
  case ZVConnectErrorConnectFailed:
    // The refusal text keeps its long-standing typo (为 for 未): applications
    // match on it.
    error.localizedDescription =
        refused ? "蓝牙中心为能和外设连接，这个错误一般是暂时的，检查下蓝牙重新连接即可"
                : "蓝牙连接失败";
    break;
  default:
    break;
  }
  return error;
}
