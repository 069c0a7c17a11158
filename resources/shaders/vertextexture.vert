// Shapes with a texture.
uniform mat4 matrix;
in vec4 vertex;
in vec4 texcoord;
out vec4 texc;

void main()
{
    gl_Position = matrix * vertex;
    texc = texcoord;
}
