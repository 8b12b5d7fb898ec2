#include <zvprinter/ZVPrinterMessage.h>

#include <nlohmann/json.hpp>

#include <cmath>
#include <cstdint>
#include <limits>

namespace {

using Json = nlohmann::json;

// Reads an optional string member; false when present with another type.
bool readString(const Json &object, const char *key, std::optional<std::string> &field) {
  const auto it = object.find(key);
  if (it == object.end() || it->is_null()) return true;
  if (!it->is_string()) return false;
  field = it->get<std::string>();
  return true;
}

} // namespace

std::string ZVPrinterMessage::encode() const {
  Json object = Json::object();
  if (name) object["_name"] = *name;
  if (mac) object["_mac"] = *mac;
  if (identifier) object["_identifier"] = *identifier;
  if (distance) object["_distance"] = *distance;
  object["_mode"] = mode;
  return object.dump();
}

std::shared_ptr<ZVPrinterMessage> ZVPrinterMessage::decode(std::string_view text) {
  const Json object = Json::parse(text.begin(), text.end(), nullptr, /*allow_exceptions=*/false);
  if (!object.is_object()) return nullptr;
  auto record = std::make_shared<ZVPrinterMessage>();
  if (!readString(object, "_name", record->name) || !readString(object, "_mac", record->mac) ||
      !readString(object, "_identifier", record->identifier)) {
    return nullptr;
  }
  if (const auto it = object.find("_distance"); it != object.end() && !it->is_null()) {
    if (!it->is_number()) return nullptr;
    const double distance = it->get<double>();
    // Out of float range cannot be a distance this library wrote.
    if (!std::isfinite(distance) || std::fabs(distance) > std::numeric_limits<float>::max()) {
      return nullptr;
    }
    record->distance = static_cast<float>(distance);
  }
  if (const auto it = object.find("_mode"); it != object.end() && !it->is_null()) {
    if (!it->is_number_integer()) return nullptr;
    if (it->is_number_unsigned() && it->get<uint64_t>() > INT64_MAX) return nullptr;
    record->mode = it->get<int64_t>();
  }
  return record;
}
