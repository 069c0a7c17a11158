// Linear magnitude to colour. One time column of the picture is one row of the texture, hence the
// swapped coordinates.
uniform sampler2D tex;
uniform sampler2D gradient;
uniform float multiplier;
uniform float lowdb;
uniform float highdb;
uniform float gamma;
uniform vec4 color;
in vec4 texc;
out vec4 out_rgba;

void main()
{
    // Interpolation between rows may swing a little below zero, where a logarithm has no value.
    float smp = max(texture(tex, texc.yx).r * multiplier, 0.0);
    // 6 dB for each doubling, the approximation by which the levels of the relief are computed too.
    float powervalue = pow(clamp((6.0 * log2(smp) - lowdb) / (highdb - lowdb), 0.0, 1.0), 1.0 / gamma);
    out_rgba = texture(gradient, vec2(powervalue, 0.5)) * color;
}
