// The helper that tries out plug-ins which are not known yet.
extern "C" int morvaneProbe(int argc, char** argv);

int main(int argc, char** argv)
{
    return morvaneProbe(argc, argv);
}
