#pragma once

// A run of the program itself, started from a test and awaited to its end.
#include <QDir>
#include <QProcess>

namespace tk {

struct ProgramRun {
    int exitCode = -1;
    QString out;
    QString errors;
};

// A file under tests/simulator/scripts.
inline QString script(const QString& name)
{
    return QDir(QStringLiteral(TUCKAWAY_SCRIPTS)).filePath(name);
}

inline ProgramRun runProgram(const QStringList& arguments, const QString& directory = {},
                             const QProcessEnvironment& environment =
                                 QProcessEnvironment::systemEnvironment())
{
    QProcess program;
    program.setWorkingDirectory(directory.isEmpty() ? QDir::currentPath() : directory);
    program.setProcessEnvironment(environment);
    program.start(QStringLiteral(TUCKAWAY_PROGRAM), arguments);
    if (!program.waitForFinished(120000))
        qFatal("the program did not end");
    return {program.exitCode(), QString::fromUtf8(program.readAllStandardOutput()),
            QString::fromUtf8(program.readAllStandardError())};
}

} // namespace tk
