uniform vec4 color;
out vec4 out_rgba;

void main()
{
    out_rgba = color;
}
