#pragma once

#include <QString>
#include <QStringList>

// Programs that run inside an interpreter: a script the kernel started through its "#!" line
// (sh, bash, python3, perl, node, ...) or a jar that java runs with "-jar".
namespace RVInterpretedProgram {

// The file that a process with this argument vector and executable runs: the jar after
// "-jar" of a java process, or the script named after the interpreter and its options when
// the script's own "#!" line names this very interpreter. Relative paths are taken from
// workingDirectory. Null for any other process: an editor or viewer that merely names a
// file runs no program of it.
QString programOf(const QStringList& arguments, const QString& executable, const QString& workingDirectory);

// The interpreter a "#!" line names: its path, or for "/usr/bin/env [-S] NAME" the NAME as
// found on PATH. Null when the text starts with no "#!".
QString interpreterOfScriptHead(const QByteArray& head);

} // namespace RVInterpretedProgram
