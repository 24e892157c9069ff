#include "RVInterpretedProgram.h"

#include "RVFileRead.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QStandardPaths>

#include <algorithm>

namespace {

QString absoluteIn(const QString& path, const QString& workingDirectory)
{
    return QDir::isAbsolutePath(path) ? QDir::cleanPath(path) : QDir::cleanPath(workingDirectory + u'/' + path);
}

// The interpreter runs as executable: the same file whatever links lead to it (/bin/sh is
// dash), or one of its versions found by another way (a python3 shim that ends in
// python3.11).
bool runsAs(const QString& interpreter, const QString& executable)
{
    const QString canonical = QFileInfo(interpreter).canonicalFilePath();
    if (!canonical.isEmpty() && canonical == QFileInfo(executable).canonicalFilePath())
        return true;
    const QString name = QFileInfo(interpreter).fileName();
    const QString running = QFileInfo(executable).fileName();
    if (name.isEmpty() || !running.startsWith(name))
        return false;
    const QString version = running.mid(name.size());
    return std::all_of(version.begin(), version.end(), [](QChar c) { return c.isDigit() || c == u'.'; });
}

} // namespace

QString RVInterpretedProgram::interpreterOfScriptHead(const QByteArray& head)
{
    if (!head.startsWith("#!"))
        return {};
    const QByteArray line = head.mid(2, head.indexOf('\n') < 0 ? -1 : head.indexOf('\n') - 2);
    QList<QByteArray> words = line.simplified().split(' ');
    if (words.isEmpty() || words.first().isEmpty())
        return {};
    const QString interpreter = QFile::decodeName(words.takeFirst());
    if (QFileInfo(interpreter).fileName() != u"env")
        return interpreter;
    // env finds its program on PATH; its own options come first.
    for (const QByteArray& word : words) {
        if (word.startsWith('-') || word.contains('='))
            continue;
        return QStandardPaths::findExecutable(QFile::decodeName(word));
    }
    return {};
}

QString RVInterpretedProgram::programOf(const QStringList& arguments, const QString& executable,
                                        const QString& workingDirectory)
{
    if (arguments.size() < 2 || executable.isEmpty())
        return {};
    if (QFileInfo(executable).fileName().startsWith(QStringLiteral("java"))) {
        const qsizetype jar = arguments.indexOf(QStringLiteral("-jar"));
        return jar > 0 && jar + 1 < arguments.size() ? absoluteIn(arguments[jar + 1], workingDirectory) : QString();
    }
    // The script follows the interpreter and the options of its "#!" line.
    for (qsizetype i = 1; i < arguments.size(); ++i) {
        if (arguments[i].startsWith(u'-'))
            continue;
        const QString script = absoluteIn(arguments[i], workingDirectory);
        const auto head = RVFileRead::head(script, 512);
        if (!head.data)
            return {};
        const QString interpreter = interpreterOfScriptHead(*head.data);
        return !interpreter.isEmpty() && runsAs(interpreter, executable) ? script : QString();
    }
    return {};
}
