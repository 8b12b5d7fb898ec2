/// @file ZVPrinterSDK.h
/// @brief Umbrella header: includes the whole public API of zvprinter.
#pragma once

#include <zvprinter/ZVAlgorithmManager.h>
#include <zvprinter/ZVBitmapManager.h>
#include <zvprinter/ZVBitmapSlice.h>
#include <zvprinter/ZVBleCentral.h>
#include <zvprinter/ZVBlePeripheral.h>
#include <zvprinter/ZVBleService.h>
#include <zvprinter/ZVExport.h>
#include <zvprinter/ZVFirmwareSlice.h>
#include <zvprinter/ZVImage.h>
#include <zvprinter/ZVPlatform.h>
#include <zvprinter/ZVPrinterC.h>
#include <zvprinter/ZVRunLoop.h>
#include <zvprinter/ZVSerialQueue.h>
#include <zvprinter/ZVSimCentral.h>
#include <zvprinter/ZVTypes.h>
#include <zvprinter/ZVVirtualPrinter.h>
