#include "core/Context.h"

#include <QCoreApplication>
#include <QTextStream>

int main(int argc, char **argv)
{
    QCoreApplication app(argc, argv);
    QTextStream(stdout) << "sorvane\n";
    return 0;
}
