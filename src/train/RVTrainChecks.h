#pragma once

#include <QByteArray>
#include <QString>
#include <QStringList>

#include <sys/types.h>

// What the privileged tool checks before it touches anything: nothing of its arguments or
// its environment is taken on trust, since whoever can start it through pkexec chooses
// them. Each check answers why it refuses, or null.
namespace RVTrainChecks {

// PKEXEC_UID, when set, names an existing user; user receives it (or our own uid).
QString refusalOfInvokingUser(const QByteArray& pkexecUid, uid_t* user);

// The rule of the installer's start-up: the wrapper is the source's folder or lies inside
// it, and the destination's folder bears the wrapper's name.
QString refusalOfWrapper(const QString& source, const QString& destination, const QString& wrapper);

// The destination lies inside one of the applications folders, or replaces an existing copy
// of the same product (same bundle identifier; without identifiers, the same executable);
// never inside a folder of the system.
QString refusalOfDestination(const QString& source, const QString& destination, const QStringList& applicationFolders,
                             const QString& home);

} // namespace RVTrainChecks
