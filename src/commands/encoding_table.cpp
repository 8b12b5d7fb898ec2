#include "commands/encoding_table.h"

#include <algorithm>
#include <array>
#include <optional>
#include <utility>

namespace zv::detail {
namespace {

struct CoreFoundationEncoding {
  uint32_t number;
  const char *converter;
};

// CoreFoundation encoding numbers that ICU can convert, sorted by number.
// Left out for want of an ICU converter: NeXTSTEP Latin, Mac Symbol,
// non-lossy ASCII, most Mac script encodings, ISO 8859-16, the raw JIS, GB
// and KSC character sets, VISCII, ANSEL, Big5-E and Johab.
constexpr std::array kCoreFoundationEncodings{
    CoreFoundationEncoding{0x0000, "macos-0_2-10.2"}, // Mac Roman
    CoreFoundationEncoding{0x0006, "x-mac-greek"},    // Mac Greek
    CoreFoundationEncoding{0x0007, "x-mac-cyrillic"}, // Mac Cyrillic
    CoreFoundationEncoding{0x001D, "x-mac-centraleurroman"},
    CoreFoundationEncoding{0x0023, "x-mac-turkish"}, // Mac Turkish
    CoreFoundationEncoding{0x0100, "UTF-16BE"},      // UTF-16, unmarked
    CoreFoundationEncoding{0x0201, "ISO-8859-1"},
    CoreFoundationEncoding{0x0202, "ISO-8859-2"},
    CoreFoundationEncoding{0x0203, "ISO-8859-3"},
    CoreFoundationEncoding{0x0204, "ISO-8859-4"},
    CoreFoundationEncoding{0x0205, "ISO-8859-5"},
    CoreFoundationEncoding{0x0206, "ISO-8859-6"},
    CoreFoundationEncoding{0x0207, "ISO-8859-7"},
    CoreFoundationEncoding{0x0208, "ISO-8859-8"},
    CoreFoundationEncoding{0x0209, "ISO-8859-9"},
    CoreFoundationEncoding{0x020A, "ISO-8859-10"},
    CoreFoundationEncoding{0x020B, "ISO-8859-11"},
    CoreFoundationEncoding{0x020D, "ISO-8859-13"},
    CoreFoundationEncoding{0x020E, "ISO-8859-14"},
    CoreFoundationEncoding{0x020F, "ISO-8859-15"},
    CoreFoundationEncoding{0x0400, "cp437"},        // DOS Latin US
    CoreFoundationEncoding{0x0405, "cp737"},        // DOS Greek
    CoreFoundationEncoding{0x0406, "cp775"},        // DOS Baltic Rim
    CoreFoundationEncoding{0x0410, "cp850"},        // DOS Latin 1
    CoreFoundationEncoding{0x0411, "cp851"},        // DOS Greek 1
    CoreFoundationEncoding{0x0412, "cp852"},        // DOS Latin 2
    CoreFoundationEncoding{0x0413, "cp855"},        // DOS Cyrillic
    CoreFoundationEncoding{0x0414, "cp857"},        // DOS Turkish
    CoreFoundationEncoding{0x0415, "cp860"},        // DOS Portuguese
    CoreFoundationEncoding{0x0416, "cp861"},        // DOS Icelandic
    CoreFoundationEncoding{0x0417, "cp862"},        // DOS Hebrew
    CoreFoundationEncoding{0x0418, "cp863"},        // DOS Canadian French
    CoreFoundationEncoding{0x0419, "cp864"},        // DOS Arabic
    CoreFoundationEncoding{0x041A, "cp865"},        // DOS Nordic
    CoreFoundationEncoding{0x041B, "cp866"},        // DOS Russian
    CoreFoundationEncoding{0x041C, "cp869"},        // DOS Greek 2
    CoreFoundationEncoding{0x041D, "windows-874"},  // DOS/Windows Thai
    CoreFoundationEncoding{0x0420, "windows-31j"},  // DOS/Windows Japanese
    CoreFoundationEncoding{0x0421, "windows-936"},  // DOS/Windows simplified Chinese
    CoreFoundationEncoding{0x0422, "windows-949"},  // DOS/Windows Korean
    CoreFoundationEncoding{0x0423, "windows-950"},  // DOS/Windows traditional Chinese
    CoreFoundationEncoding{0x0500, "windows-1252"}, // Windows Latin 1
    CoreFoundationEncoding{0x0501, "windows-1250"}, // Windows Latin 2
    CoreFoundationEncoding{0x0502, "windows-1251"}, // Windows Cyrillic
    CoreFoundationEncoding{0x0503, "windows-1253"}, // Windows Greek
    CoreFoundationEncoding{0x0504, "windows-1254"}, // Windows Latin 5
    CoreFoundationEncoding{0x0505, "windows-1255"}, // Windows Hebrew
    CoreFoundationEncoding{0x0506, "windows-1256"}, // Windows Arabic
    CoreFoundationEncoding{0x0507, "windows-1257"}, // Windows Baltic Rim
    CoreFoundationEncoding{0x0508, "windows-1258"}, // Windows Vietnamese
    CoreFoundationEncoding{0x0600, "US-ASCII"},
    CoreFoundationEncoding{0x0631, "GBK"},
    CoreFoundationEncoding{0x0632, "GB18030"},
    CoreFoundationEncoding{0x0820, "ISO-2022-JP"},
    CoreFoundationEncoding{0x0821, "ISO-2022-JP-2"},
    CoreFoundationEncoding{0x0822, "ISO-2022-JP-1"},
    CoreFoundationEncoding{0x0830, "ISO-2022-CN"},
    CoreFoundationEncoding{0x0831, "ISO-2022-CN-EXT"},
    CoreFoundationEncoding{0x0840, "ISO-2022-KR"},
    CoreFoundationEncoding{0x0920, "EUC-JP"},
    CoreFoundationEncoding{0x0930, "EUC-CN"},
    CoreFoundationEncoding{0x0931, "EUC-TW"},
    CoreFoundationEncoding{0x0940, "EUC-KR"},
    CoreFoundationEncoding{0x0A01, "Shift_JIS"},
    CoreFoundationEncoding{0x0A02, "KOI8-R"},
    CoreFoundationEncoding{0x0A03, "Big5"},
    CoreFoundationEncoding{0x0A05, "HZ"},
    CoreFoundationEncoding{0x0A06, "Big5-HKSCS"},
    CoreFoundationEncoding{0x0A08, "KOI8-U"},
    CoreFoundationEncoding{0x0A10, "IMAP-mailbox-name"}, // UTF-7 for IMAP
    CoreFoundationEncoding{0x0C02, "ibm-37"},            // EBCDIC code page 037
    CoreFoundationEncoding{0x04000100, "UTF-7"},
    CoreFoundationEncoding{0x08000100, "UTF-8"},
    CoreFoundationEncoding{0x0C000100, "UTF-32BE"}, // UTF-32, unmarked
    CoreFoundationEncoding{0x10000100, "UTF-16BE"},
    CoreFoundationEncoding{0x14000100, "UTF-16LE"},
    CoreFoundationEncoding{0x18000100, "UTF-32BE"},
    CoreFoundationEncoding{0x1C000100, "UTF-32LE"},
};

static_assert(std::ranges::is_sorted(kCoreFoundationEncodings, {},
                                     &CoreFoundationEncoding::number));

// The platform's own small encoding numbers and the CoreFoundation encoding
// each stands for. 2 (NeXTSTEP), 6 (Symbol) and 7 (non-lossy ASCII) have no
// ICU converter.
constexpr std::array<std::pair<int64_t, uint32_t>, 14> kPlatformEncodings{{
    {1, 0x0600},     // ASCII
    {3, 0x0920},     // Japanese EUC
    {4, 0x08000100}, // UTF-8
    {5, 0x0201},     // ISO Latin 1
    {8, 0x0420},     // Shift JIS (code page 932)
    {9, 0x0202},     // ISO Latin 2
    {10, 0x0100},    // Unicode (UTF-16)
    {11, 0x0502},    // Windows-1251
    {12, 0x0500},    // Windows-1252
    {13, 0x0503},    // Windows-1253
    {14, 0x0504},    // Windows-1254
    {15, 0x0501},    // Windows-1250
    {21, 0x0820},    // ISO-2022-JP
    {30, 0x0000},    // Mac Roman
}};

constexpr int64_t kCoreFoundationFlag = 0x80000000;

std::optional<uint32_t> coreFoundationNumber(int64_t encodingNumber) {
  if ((encodingNumber & ~int64_t{0xFFFFFFFF}) == 0 && (encodingNumber & kCoreFoundationFlag) != 0)
    return static_cast<uint32_t>(encodingNumber & ~kCoreFoundationFlag);
  for (const auto &[platform, coreFoundation] : kPlatformEncodings)
    if (platform == encodingNumber) return coreFoundation;
  return std::nullopt;
}

} // namespace

const char *icuConverterFor(int64_t encodingNumber) {
  const auto number = coreFoundationNumber(encodingNumber);
  if (!number) return nullptr;
  const auto found = std::ranges::lower_bound(kCoreFoundationEncodings, *number, {},
                                              &CoreFoundationEncoding::number);
  if (found == kCoreFoundationEncodings.end() || found->number != *number) return nullptr;
  return found->converter;
}

} // namespace zv::detail
