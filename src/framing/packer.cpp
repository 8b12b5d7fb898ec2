#include <zvprinter/ZVPacker.h>

ZVPacker &ZVPacker::shared() {
  static ZVPacker instance;
  return instance;
}
