#include "workbench/plate/PlateShaders.h"

namespace Workbench::Shaders {

// One triangle that covers the view.
const char* const BackgroundVertex = R"(#version 330 core
out float v_height;
void main()
{
    vec2 corner = vec2((gl_VertexID << 1) & 2, gl_VertexID & 2);
    v_height = corner.y;
    gl_Position = vec4(corner * 2.0 - 1.0, 0.9999, 1.0);
}
)";

const char* const BackgroundFragment = R"(#version 330 core
in float v_height;
uniform vec3 u_top;
uniform vec3 u_bottom;
out vec4 o_colour;
void main()
{
    o_colour = vec4(mix(u_bottom, u_top, v_height), 1.0);
}
)";

const char* const BedVertex = R"(#version 330 core
uniform mat4 u_viewProjection;
uniform vec4 u_rectangle;
out vec2 v_at;
void main()
{
    vec2 corner = vec2(gl_VertexID & 1, gl_VertexID >> 1);
    v_at = mix(u_rectangle.xy, u_rectangle.zw, corner);
    gl_Position = u_viewProjection * vec4(v_at, -0.03, 1.0);
}
)";

// Lines are as wide as pixels, wherever the eye is, and fade where they would run together.
const char* const BedFragment = R"(#version 330 core
in vec2 v_at;
uniform vec4 u_rectangle;
uniform bool u_isCircular;
uniform vec4 u_plate;
uniform vec3 u_fineColour;
uniform vec3 u_coarseColour;
uniform vec4 u_edge;
uniform vec3 u_zoneColour;
uniform float u_fine;
uniform float u_coarse;
uniform int u_zoneCount;
uniform vec4 u_zones[32];
out vec4 o_colour;

float grid(float i_spacing, vec2 i_pixel)
{
    vec2 away = abs(fract(v_at / i_spacing - 0.5) - 0.5) * i_spacing / i_pixel;
    vec2 lines = clamp(1.0 - away, 0.0, 1.0) * smoothstep(2.0, 6.0, i_spacing / i_pixel);
    return max(lines.x, lines.y);
}

void main()
{
    vec2 pixel = max(fwidth(v_at), vec2(1e-6));
    vec2 middle = (u_rectangle.xy + u_rectangle.zw) * 0.5;
    float inside;
    if (u_isCircular) {
        float radius = (u_rectangle.z - u_rectangle.x) * 0.5;
        float from = length(v_at - middle);
        inside = (radius - from) / max(fwidth(from), 1e-6);
    } else {
        vec2 away = min(v_at - u_rectangle.xy, u_rectangle.zw - v_at) / pixel;
        inside = min(away.x, away.y);
    }
    vec3 colour = mix(u_plate.rgb, u_fineColour, grid(u_fine, pixel));
    colour = mix(colour, u_coarseColour, grid(u_coarse, pixel));
    for (int zone = 0; zone < u_zoneCount; ++zone) {
        vec2 away = min(v_at - u_zones[zone].xy, u_zones[zone].zw - v_at);
        if (min(away.x, away.y) < 0.0)
            continue;
        float stripe = smoothstep(0.45, 0.55, abs(fract((v_at.x + v_at.y) / 8.0) - 0.5) * 2.0);
        float rim = 1.0 - clamp(min(away.x / pixel.x, away.y / pixel.y) - 1.0, 0.0, 1.0);
        colour = mix(colour, u_zoneColour, max(0.12 + 0.38 * stripe, rim));
    }
    colour = mix(colour, u_edge.rgb, u_edge.a * (1.0 - clamp(inside - 1.2, 0.0, 1.0)));
    if (inside < -0.5)
        discard;
    o_colour = vec4(colour, u_plate.a * clamp(inside + 0.5, 0.0, 1.0));
}
)";

const char* const PartVertex = R"(#version 330 core
layout(location = 0) in vec3 i_position;
layout(location = 1) in vec4 i_normal;
uniform mat4 u_model;
uniform mat4 u_viewProjection;
uniform mat3 u_normal;
out vec3 v_world;
out vec3 v_normal;
void main()
{
    vec4 world = u_model * vec4(i_position, 1.0);
    v_world = world.xyz;
    v_normal = u_normal * i_normal.xyz;
    gl_Position = u_viewProjection * world;
}
)";

// Normals are turned to the eye, so that meshes that are inside out or mirrored look right.
const char* const PartFragment = R"(#version 330 core
in vec3 v_world;
in vec3 v_normal;
uniform vec3 u_colour;
uniform vec3 u_stripes;
uniform bool u_isStriped;
uniform vec3 u_eye;
uniform vec3 u_key;
uniform float u_ambient;
out vec4 o_colour;
void main()
{
    vec3 normal = v_normal;
    if (dot(normal, normal) < 1e-8)
        normal = cross(dFdx(v_world), dFdy(v_world));
    normal = normalize(normal);
    vec3 toEye = normalize(u_eye - v_world);
    if (dot(normal, toEye) < 0.0)
        normal = -normal;
    vec3 colour = u_colour;
    if (u_isStriped && fract((gl_FragCoord.x + gl_FragCoord.y) / 16.0) < 0.5)
        colour = u_stripes;
    float key = max(dot(normal, u_key), 0.0);
    float sky = 0.5 + 0.5 * normal.z;
    float shine = pow(max(dot(normal, normalize(u_key + toEye)), 0.0), 24.0);
    o_colour = vec4(colour * (u_ambient + 0.24 * sky + 0.50 * key) + 0.10 * shine, 1.0);
}
)";

// Coarse forms have the corners of the fine one; the normals are those of their own faces. What moves must be cheap
// where the processor draws: light comes in the coordinates of the mesh, so that nothing but the corners is turned.
const char* const CoarseVertex = R"(#version 330 core
layout(location = 0) in vec3 i_position;
uniform mat4 u_matrix;
out vec3 v_place;
void main()
{
    v_place = i_position;
    gl_Position = u_matrix * vec4(i_position, 1.0);
}
)";

const char* const CoarseFragment = R"(#version 330 core
in vec3 v_place;
uniform vec3 u_colour;
uniform vec3 u_stripes;
uniform bool u_isStriped;
uniform vec3 u_key;
uniform vec3 u_sky;
uniform float u_ambient;
out vec4 o_colour;
void main()
{
    vec3 normal = normalize(cross(dFdx(v_place), dFdy(v_place)));
    vec3 colour = u_isStriped && fract((gl_FragCoord.x + gl_FragCoord.y) / 16.0) < 0.5 ? u_stripes : u_colour;
    float light = u_ambient + 0.12 + 0.12 * dot(normal, u_sky) + 0.50 * max(dot(normal, u_key), 0.0);
    o_colour = vec4(colour * light, 1.0);
}
)";

const char* const ShadowFragment = R"(#version 330 core
in vec3 v_world;
uniform vec4 u_rectangle;
uniform bool u_isCircular;
uniform vec4 u_shadow;
out vec4 o_colour;
void main()
{
    vec2 middle = (u_rectangle.xy + u_rectangle.zw) * 0.5;
    vec2 half_ = (u_rectangle.zw - u_rectangle.xy) * 0.5;
    vec2 from = abs(v_world.xy - middle);
    bool isOutside = u_isCircular ? length(from) > half_.x : from.x > half_.x || from.y > half_.y;
    if (isOutside)
        discard;
    o_colour = u_shadow;
}
)";

const char* const LineVertex = R"(#version 330 core
layout(location = 0) in vec3 i_position;
uniform mat4 u_viewProjection;
void main()
{
    gl_Position = u_viewProjection * vec4(i_position, 1.0);
}
)";

const char* const LineFragment = R"(#version 330 core
uniform vec4 u_colour;
out vec4 o_colour;
void main()
{
    o_colour = u_colour;
}
)";

} // namespace Workbench::Shaders
