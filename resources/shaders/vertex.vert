// Flat shapes. The version line is put in front when the file is loaded.
uniform mat4 matrix;
in vec4 vertex;

void main()
{
    gl_Position = matrix * vertex;
}
