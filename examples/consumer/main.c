/* Uses the plain functions from C through the installed package. */
#include <zvprinter/ZVPrinterC.h>

#include <stdio.h>

int main(void) {
  const uint8_t digits[] = "123456789";
  const uint32_t crc = zv_print_crc32(0, digits, 9);
  printf("crc32(\"123456789\") = %08X\n", (unsigned)crc);
  return crc == 0xCBF43926u ? 0 : 1;
}
