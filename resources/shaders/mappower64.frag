// As mappower.frag, with a relief in 64 steps: loud bins are displaced further than quiet ones.
// displace[i].xy is the offset of a step in texture coordinates (time, frequency), .z and .w the lowest
// and the highest linear magnitude of its band of levels.
uniform sampler2D tex;
uniform sampler2D gradient;
uniform vec4 displace[64];
uniform float multiplier;
uniform float lowdb;
uniform float highdb;
uniform float gamma;
uniform vec4 color;
in vec4 texc;
out vec4 out_rgba;

float borderClamp(vec2 coord)
{
    vec2 inside = step(abs(coord - vec2(0.5)), vec2(0.5));
    return inside.x * inside.y;
}

void main()
{
    float smp = 0.0;
    for (int loop = 0; loop < 64; ++loop) {
        vec2 coord = texc.yx - displace[loop].yx;
        float smpscan = max(texture(tex, coord).r * multiplier * borderClamp(coord), 0.0);
        smp = max(smp, min(smpscan, displace[loop].w) * step(displace[loop].z, smpscan));
    }
    float powervalue = pow(clamp((6.0 * log2(smp) - lowdb) / (highdb - lowdb), 0.0, 1.0), 1.0 / gamma);
    out_rgba = texture(gradient, vec2(powervalue, 0.5)) * color;
}
