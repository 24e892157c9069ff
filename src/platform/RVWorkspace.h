#pragma once

#include <QString>
#include <QStringList>

// What the desktop does with files and applications.
class RVWorkspace
{
public:
    virtual ~RVWorkspace() = default;

    // Moves the named items of folder to the Trash of the user on whose behalf we act.
    virtual bool recycle(const QString& folder, const QStringList& names) = 0;
    // Moves the item at path, which stood at originalPath until it was replaced, to the
    // Trash as the item of originalPath (restoring puts it back there).
    virtual bool recycleReplaced(const QString& path, const QString& originalPath) = 0;
    // Nothing to send on Linux: file managers watch with inotify. Kept as one named place.
    virtual void noteFileSystemChanged(const QString& path) = 0;
    // The desktop's icon for path, as a desktop entry's Icon key has it: an image file of
    // its own (a bundle's icon), else the icon theme's name for its kind; null only when
    // nothing is at path.
    virtual QString iconForFile(const QString& path) = 0;
    // Launches the application bundle at path; whether it was started.
    virtual bool openApplication(const QString& path) = 0;
    // Registers the bundle with the desktop; 0 on success, else an error status.
    virtual int registerApplication(const QString& path) = 0;
    // The paths of the session's login items, in their order.
    virtual QStringList loginItems() = 0;
    // The applications folder of the whole system and of the user.
    virtual QString localApplicationsDirectory() = 0;
    virtual QString userApplicationsDirectory() = 0;
    // The home folder of the user on whose behalf we act.
    virtual QString homeDirectory() = 0;
};
