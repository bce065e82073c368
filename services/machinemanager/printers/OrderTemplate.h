#pragma once

#include "machinemanager/printers/IPrinterLink.h"

#include <QJsonValue>

#include <cstdint>
#include <string>
#include <string_view>

namespace MachineService::MachineManager {

// Texts of a description with places for what differs from order to order: {name} the file's name at the printer,
// {key}, {sha256} of the file in hexadecimal, {size} in bytes. A brace itself is written twice.

/// What is wrong with a text, as the end of a sentence; empty when it can be filled.
std::string FindTemplateFault(std::string_view i_text);
/// The same for all texts within a JSON value.
std::string FindTemplateFault(const QJsonValue& i_value);
/// Would two orders make two texts of it?
bool TellsOrder(std::string_view i_text);
bool TellsOrder(const QJsonValue& i_value);

/// Percent-encodes what is put in, as a path and a form want it.
/// \throws PrinterRefusal when the file is asked for its size and cannot tell it.
std::string FillPercentEncoded(std::string_view i_text, const PrintOrder& i_order);
/// The texts within a value, as they are; a text that is "{size}" alone becomes a number.
/// \throws PrinterRefusal as above.
QJsonValue FillJson(const QJsonValue& i_value, const PrintOrder& i_order);

/// \throws PrinterRefusal
std::uint64_t GetFileSize(const PrintOrder& i_order);

} // namespace MachineService::MachineManager
