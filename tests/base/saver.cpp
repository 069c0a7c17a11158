// Saves 1 MiB to the path that it is given, as the program saves a file. Exit status 0, or 3 when it
// was told that it failed.
#include "base/faults.h"
#include "base/safefile.h"

int main(int argc, char** argv)
{
    installFaultHandlers();
    SafeFile file(QString::fromLocal8Bit(argc > 1 ? argv[1] : ""));
    if (!file.open())
        return 3;
    const QByteArray piece(16384, 'n');
    for (int i = 0; i < 64; ++i)
        if (!file.write(piece))
            return 3;
    return file.commit() ? 0 : 3;
}
