#include <zvprinter/ZVPrinterC.h>

extern "C" {

const double ZVPrinterSDKVersionNumber = 1.0;
const unsigned char ZVPrinterSDKVersionString[] =
    "@(#)PROGRAM:ZVPrinterSDK  PROJECT:ZVPrinterSDK-1\n";
}
