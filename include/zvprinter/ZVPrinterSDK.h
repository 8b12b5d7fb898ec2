/// @file ZVPrinterSDK.h
/// @brief Umbrella header: includes the whole public API of zvprinter.
#pragma once

#include <zvprinter/ZVAlgorithmManager.h>
#include <zvprinter/ZVBarcodeEncodeVerify.h>
#include <zvprinter/ZVBarcodeSlice.h>
#include <zvprinter/ZVBitmapManager.h>
#include <zvprinter/ZVBitmapSlice.h>
#include <zvprinter/ZVBleCentral.h>
#include <zvprinter/ZVBlePeripheral.h>
#include <zvprinter/ZVBleService.h>
#include <zvprinter/ZVCacheManager.h>
#include <zvprinter/ZVCmdTSCGenerator.h>
#include <zvprinter/ZVCmdUniGenerator.h>
#include <zvprinter/ZVCommonResolver.h>
#include <zvprinter/ZVDataResolver.h>
#include <zvprinter/ZVDataRouter.h>
#include <zvprinter/ZVEncode.h>
#include <zvprinter/ZVExport.h>
#include <zvprinter/ZVFirmwareSlice.h>
#include <zvprinter/ZVImage.h>
#include <zvprinter/ZVImagePreviewManager.h>
#include <zvprinter/ZVLog.h>
#include <zvprinter/ZVPackProtocol.h>
#include <zvprinter/ZVPacker.h>
#include <zvprinter/ZVPlatform.h>
#include <zvprinter/ZVPrintImage.h>
#include <zvprinter/ZVPrinterC.h>
#include <zvprinter/ZVRunLoop.h>
#include <zvprinter/ZVSerialQueue.h>
#include <zvprinter/ZVSimCentral.h>
#include <zvprinter/ZVTarvoDataProcessor.h>
#include <zvprinter/ZVTarvoResolver.h>
#include <zvprinter/ZVTypes.h>
#include <zvprinter/ZVVirtualPrinter.h>
