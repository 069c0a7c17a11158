// Two envelopes of minimum and maximum, one texel for each point in time: x and y are minimum and
// maximum of the first, z and w those of the second.
uniform vec2 fragScale;
uniform vec2 fragTranslate;
uniform sampler2D tex;
uniform sampler2D gradient;
uniform float multiplier;
uniform vec2 luminosity;
uniform vec4 color;
in vec4 texc;
out vec4 out_rgba;

vec2 linearstep(vec2 lo, vec2 hi, vec2 x)
{
    // Where both ends meet there is nothing to ramp, and nothing to divide by.
    return clamp((x - lo) / max(hi - lo, vec2(1e-20)), 0.0, 1.0);
}

// The part of the pixel that belongs to the slope from the envelope at `now` to that at `other`.
vec2 slope(vec4 other, vec4 now, vec2 y)
{
    return step(other.xz, y) * step(y, now.xz) * linearstep(other.xz, now.xz, y) +
           step(now.yw, y) * step(y, other.yw) * linearstep(now.yw, other.yw, y);
}

void main()
{
    // Interpolated texture coordinates lose too much precision on some GPUs.
    vec2 texCoord = gl_FragCoord.xy * fragScale + fragTranslate;
    vec2 texcd = vec2(abs(dFdx(texCoord.x)), abs(dFdy(texCoord.y)));
    vec4 smp0 = texture(tex, vec2(texCoord.x - texcd.x, 0.5)) * multiplier;
    vec4 smp1 = texture(tex, vec2(texCoord.x, 0.5)) * multiplier;
    vec4 smp2 = texture(tex, vec2(texCoord.x + texcd.x, 0.5)) * multiplier;
    // Inverted polarity swaps minimum and maximum.
    if (multiplier < 0.0) {
        smp0 = smp0.yxwz;
        smp1 = smp1.yxwz;
        smp2 = smp2.yxwz;
    }
    // A flat signal still covers one pixel.
    smp0.yw += texcd.y;
    smp1.yw += texcd.y;
    smp2.yw += texcd.y;

    vec2 y = vec2(texCoord.y);
    vec2 compo = step(smp1.xz, y + texcd.y) * step(y, smp1.yw);
    compo += slope(smp0, smp1, y);
    compo += slope(smp2, smp1, y);
    compo = clamp(compo, 0.0, 1.0) * luminosity;
    out_rgba = texture(gradient, vec2(compo.x + compo.y, 0.5)) * color;
}
