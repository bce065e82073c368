#pragma once

/// Names of the AMX properties that the host's printing functions keep.
namespace TavAM::PropertyNames::Print3D {

/// Id of the attached machine: 36 lower-case characters.
inline constexpr wchar_t SelectedQueueID[] = L"Print3D.SelectedQueueID";
/// The same as earlier versions wrote it; read, never written.
inline constexpr wchar_t OldSelectedQueueID[] = L"Print3D.QueueID";
/// Configuration time of the machine that the scene was prepared for: ISO-8601, UTC.
inline constexpr wchar_t MachineInformationTimestamp[] = L"Print3D.MachineInformationTimestamp";
/// What platforms for the machine are prepared with: an XML document, see docs/machine-configuration.md.
inline constexpr wchar_t MachineConfiguration[] = L"Print3D.MachineConfiguration";

/// Estimates of a processed platform or part. Numbers in decimal with a point; on a part they are that part's own
/// share.
inline constexpr wchar_t LayerCount[] = L"Print3D.Figures.LayerCount";
inline constexpr wchar_t PrintTimeSeconds[] = L"Print3D.Figures.PrintTimeSeconds";
inline constexpr wchar_t MaterialMillimetres[] = L"Print3D.Figures.MaterialMillimetres"; ///< filament length
inline constexpr wchar_t MaterialCubicCentimetres[] = L"Print3D.Figures.MaterialCubicCentimetres";
inline constexpr wchar_t MaterialGrams[] = L"Print3D.Figures.MaterialGrams";
/// Where the machine file of the last build lies: an absolute path.
inline constexpr wchar_t MachineFile[] = L"Print3D.Figures.MachineFile";
inline constexpr wchar_t JobName[] = L"Print3D.Figures.JobName";

/// What a platform is prepared for, kept under the names of the service that first wrote them.
inline constexpr wchar_t LayerHeight[] = L"BuildProcessor.LayerHeight"; ///< mm
inline constexpr wchar_t Material[] = L"BuildProcessor.Material";       ///< name
inline constexpr wchar_t Nozzle[] = L"BuildProcessor.Nozzle";           ///< diameter, mm; fused filament only
inline constexpr wchar_t Plate[] = L"BuildProcessor.Plate";             ///< name; where there is a choice

/// What the machine told beside the outcome of its last command, for the user: sentences, a line each; empty or absent
/// when there was nothing.
inline constexpr wchar_t Notes[] = L"Print3D.Notes";

} // namespace TavAM::PropertyNames::Print3D
