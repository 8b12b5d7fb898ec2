// zvprint barcode TYPE CONTENT: validates a barcode content and prints the
// content to encode (check digit added, Codabar framing, Code 39 full ASCII).

#include "cli_support.h"
#include "commands.h"

#include <zvprinter/ZVBarcodeEncodeVerify.h>
#include <zvprinter/ZVLog.h>

#include "platform/text_conversion.h"

#include <cstdio>
#include <iostream>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace zvprint {
namespace {

using V = ZVBarcodeEncodeVerify;

struct Symbology {
  const char *title;
  ZVBarcodeSlice (*check)(const std::string &);
  size_t shortLength; // without check digit; 0 when there is none
};

const std::map<std::string, Symbology> kSymbologies{
    {"ean8", {"EAN-8", V::verifyEan8Encoding, 7}},
    {"ean13", {"EAN-13", V::verifyEan13Encoding, 12}},
    {"upca", {"UPC-A", V::verifyUpcaEncoding, 11}},
    {"upce", {"UPC-E", V::verifyUpceEncoding, 7}},
    {"codabar", {"Codabar", V::verifyCodaBarEncoding, 0}},
    {"itf", {"ITF", V::verifyItf25Encoding, 0}},
    {"code39", {"Code 39", V::verifyCode39Encoding, 0}},
    {"code93", {"Code 93", V::verifyCode93Encoding, 0}},
    {"code128", {"Code 128", V::verifyCode128Encoding, 0}},
};

std::string quoted(char16_t unit) {
  if (unit >= 0x20 && unit < 0x7F) return "'" + std::string(1, static_cast<char>(unit)) + "'";
  char text[16];
  std::snprintf(text, sizeof text, "U+%04X", static_cast<unsigned>(unit));
  return text;
}

// The first code unit that @p allowed refuses, as text for a message.
template <typename Allowed> std::string firstRefused(const std::u16string &units, Allowed allowed) {
  for (const char16_t unit : units)
    if (!allowed(unit)) return quoted(unit);
  return "?";
}

bool inCode39Alphabet(char16_t unit) {
  return V::arrayContains(ZV_CODE39_ALPHABET, 43, unit);
}

std::string upcEanReason(const Symbology &symbology, const std::string &name,
                         const std::u16string &units, const std::string &content) {
  const size_t n = symbology.shortLength;
  if (units.size() != n && units.size() != n + 1)
    return symbology.title + std::string(" takes ") + std::to_string(n) + " digits, or " +
           std::to_string(n + 1) + " with the check digit; got " + std::to_string(units.size());
  if (!V::isNumeric(content)) return symbology.title + std::string(" takes digits only");
  if (name == "upce" && units[0] != u'0' && units[0] != u'1')
    return "UPC-E number system (first digit) must be 0 or 1";
  const std::string digits = name == "upca" ? "0" + content : content;
  const auto expected = V::standardUPCEANChecksum(digits.substr(0, digits.size() - 1));
  return symbology.title + std::string(" check digit ") + digits.substr(digits.size() - 1) +
         " does not match, expected " + std::to_string(expected);
}

std::string reason(const std::string &name, const std::string &content) {
  const Symbology &symbology = kSymbologies.at(name);
  const auto units = zv::detail::utf16FromUtf8(content);
  if (!units) return symbology.title + std::string(" content is not valid UTF-8");
  if (symbology.shortLength != 0) return upcEanReason(symbology, name, *units, content);
  const std::string title = symbology.title;
  if (name == "codabar")
    return "Codabar takes only 0-9 - $ : / . + inside, not " + firstRefused(*units, [](char16_t u) {
             return (u >= u'0' && u <= u'9') ||
                    std::u16string_view(u"-$/:+.").find(u) != std::u16string_view::npos;
           });
  if (name == "code128" && units->empty()) return "Code 128 needs at least one character";
  if (units->size() > 80) return title + " takes at most 80 characters";
  if (name == "itf") {
    if (!V::isNumeric(content)) return "ITF takes digits only";
    return "ITF needs an even number of digits";
  }
  if (name == "code39") {
    if (V::tryToConvertToExtendedMode(content).empty())
      return "Code 39 has no form for " + firstRefused(*units, [](char16_t u) { return u < 128; });
    return "the Code 39 full-ASCII form is longer than 80 characters";
  }
  if (name == "code93") return "Code 93 has no " + firstRefused(*units, inCode39Alphabet);
  return "Code 128 has no " + firstRefused(*units, [](char16_t u) {
           return u < 128 || (u >= ZV_CODE128_ESCAPE_FNC_1 && u <= ZV_CODE128_ESCAPE_FNC_4);
         });
}

} // namespace

void addBarcodeCommand(CLI::App &app) {
  auto *command = app.add_subcommand(
      "barcode", "Check a barcode content and print what to encode (exit 1 if invalid)");
  struct Options {
    std::string type;
    std::string content;
  };
  const auto options = std::make_shared<Options>();
  std::vector<std::string> names;
  for (const auto &[name, symbology] : kSymbologies)
    names.push_back(name);
  command->add_option("TYPE", options->type, "Symbology")->required()->check(CLI::IsMember(names));
  command->add_option("CONTENT", options->content, "Content to check")->required();
  command->callback([options] {
    ZVSetLogHandler({}); // the content is printed below; no log line needed
    const auto &[type, content] = *options;
    const ZVBarcodeSlice slice = kSymbologies.at(type).check(content);
    if (!slice.isVerify) fail(reason(type, content));
    std::cout << slice.content << "\n";
  });
}

} // namespace zvprint
