#pragma once

/// The programs of the plate's drawing, in GLSL 3.30. World coordinates are mm.
namespace Workbench::Shaders {

extern const char* const BackgroundVertex;
extern const char* const BackgroundFragment;
extern const char* const BedVertex;
extern const char* const BedFragment;
extern const char* const PartVertex;
extern const char* const PartFragment;
extern const char* const CoarseVertex;
extern const char* const CoarseFragment;
extern const char* const ShadowFragment;
extern const char* const LineVertex;
extern const char* const LineFragment;

inline constexpr int MaxZones = 32; ///< drawn on the bed; more are shown as boxes only

} // namespace Workbench::Shaders
