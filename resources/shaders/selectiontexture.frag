// The 8-bit image holds the strength of the mask in its lower half and marks a pixel of the border in
// its upper half.
uniform sampler2D tex;
uniform vec4 colorborder;
uniform vec4 colormask;
in vec4 texc;
out vec4 out_rgba;

void main()
{
    float value = texture(tex, texc.xy).r;
    out_rgba = value < 0.5 ? vec4(colormask.rgb, colormask.a * value * 2.0) : colorborder;
}
