#pragma once

#include "tavam/PropertyNames.h"

namespace MachineService::BuildProcessor {

/// Properties of a platform by which this service keeps what was chosen and found for it.
namespace PropertyName {
using TavAM::PropertyNames::Print3D::LayerHeight;
using TavAM::PropertyNames::Print3D::Material;
using TavAM::PropertyNames::Print3D::Nozzle;
using TavAM::PropertyNames::Print3D::Plate;
inline constexpr wchar_t Printer[] = L"BuildProcessor.Printer";
inline constexpr wchar_t Manufacturer[] = L"BuildProcessor.Manufacturer";
inline constexpr wchar_t QueueState[] = L"BuildProcessor.QueueState";
inline constexpr wchar_t Engine[] = L"BuildProcessor.Engine";             ///< version
inline constexpr wchar_t Connection[] = L"BuildProcessor.Connection";     ///< "tested"
inline constexpr wchar_t SettingsFile[] = L"BuildProcessor.SettingsFile"; ///< absolute path
inline constexpr wchar_t JobFolder[] = L"BuildProcessor.JobFolder";       ///< absolute path
inline constexpr wchar_t Check[] = L"BuildProcessor.Check";               ///< "passed"
inline constexpr wchar_t CheckTime[] = L"BuildProcessor.CheckTime";       ///< ISO-8601, UTC
inline constexpr wchar_t PartCount[] = L"BuildProcessor.PartCount";
inline constexpr wchar_t PartVolume[] = L"BuildProcessor.PartVolume"; ///< cm³
} // namespace PropertyName

} // namespace MachineService::BuildProcessor
