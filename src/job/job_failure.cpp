#include <zvprinter/ZVJobTypes.h>

#include <zvprinter/ZVBluetoothManager.h>

const char *ZVJobFailureName(ZVJobFailure failure) {
  switch (failure) {
  case ZVJobFailure::None:
    return "none";
  case ZVJobFailure::InvalidJob:
    return "invalid-job";
  case ZVJobFailure::BluetoothOff:
    return "bluetooth-off";
  case ZVJobFailure::NotFound:
    return "not-found";
  case ZVJobFailure::ConnectFailed:
    return "connect-failed";
  case ZVJobFailure::StatusUnanswered:
    return "status-unanswered";
  case ZVJobFailure::Busy:
    return "busy";
  case ZVJobFailure::PaperOut:
    return "paper-out";
  case ZVJobFailure::WriteRefused:
    return "write-refused";
  case ZVJobFailure::LinkLost:
    return "link-lost";
  case ZVJobFailure::Stalled:
    return "stalled";
  case ZVJobFailure::NeverConfirmed:
    return "never-confirmed";
  case ZVJobFailure::FirmwareRejected:
    return "firmware-rejected";
  case ZVJobFailure::NoAnswer:
    return "no-answer";
  case ZVJobFailure::CommandRefused:
    return "command-refused";
  case ZVJobFailure::Cancelled:
    return "cancelled";
  }
  return "unknown";
}

ZVPrinterTarget ZVPrinterTarget::fromText(const std::string &text) {
  if (text.empty()) return any();
  const auto &central = ZVBluetoothManager::shareInstance().centralManager();
  if (central && central->isValidIdentifier(text)) return withIdentifier(text);
  return named(text);
}
