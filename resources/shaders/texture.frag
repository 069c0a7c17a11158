uniform sampler2D tex;
uniform vec4 color;
in vec4 texc;
out vec4 out_rgba;

// 1 inside the unit square and on its edges, 0 outside: a texture that is clamped to its edge reads
// as transparent beyond its extent.
float borderClamp(vec2 coord)
{
    vec2 inside = step(abs(coord - vec2(0.5)), vec2(0.5));
    return inside.x * inside.y;
}

void main()
{
    out_rgba = texture(tex, texc.xy) * borderClamp(texc.xy) * color;
}
