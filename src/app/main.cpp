// The executable holds nothing: all of the program lies in the library beside it, which a host loads
// just as well.
extern "C" int morvaneMain(int argc, char** argv);

int main(int argc, char** argv)
{
    return morvaneMain(argc, argv);
}
