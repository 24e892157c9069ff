#include "RVPackage.h"

#include <QCryptographicHash>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSaveFile>
#include <QtEndian>

#include <archive.h>
#include <archive_entry.h>
#include <elf.h>

#include <cerrno>
#include <cstring>
#include <memory>

namespace {

constexpr char kMagic[8] = {'V', 'E', 'L', 'M', 'O', 'R', 'A', '\1'};
constexpr qint64 kHashSize = 32;
constexpr qint64 kTrailerSize = 8 + 8 + 8 + kHashSize;
constexpr qint64 kBlock = 256 * 1024;

using Archive = std::unique_ptr<archive, int (*)(archive*)>;

QString archiveError(archive* a)
{
    const char* text = archive_error_string(a);
    return text ? QString::fromLocal8Bit(text) : QStringLiteral("unknown archive error");
}

// Where the program ends: its section header table is the last part of an ELF file.
// Anything after it was appended.
std::optional<quint64> programSize(QFile& file)
{
    Elf64_Ehdr header{};
    if (!file.seek(0) || file.read(reinterpret_cast<char*>(&header), sizeof header) != qint64(sizeof header) ||
        std::memcmp(header.e_ident, ELFMAG, SELFMAG) != 0 || header.e_ident[EI_CLASS] != ELFCLASS64)
        return std::nullopt;
    return quint64(header.e_shoff) + quint64(header.e_shnum) * quint64(header.e_shentsize);
}

struct Trailer
{
    RVPackage::Payload payload;
    QByteArray hash;
};

std::optional<Trailer> trailerOf(QFile& file)
{
    const qint64 size = file.size();
    if (size < kTrailerSize || !file.seek(size - kTrailerSize))
        return std::nullopt;
    const QByteArray bytes = file.read(kTrailerSize);
    if (bytes.size() != kTrailerSize || !bytes.startsWith(QByteArray(kMagic, 8)))
        return std::nullopt;
    Trailer trailer;
    trailer.payload.offset = qFromLittleEndian<quint64>(bytes.constData() + 8);
    trailer.payload.size = qFromLittleEndian<quint64>(bytes.constData() + 16);
    trailer.hash = bytes.mid(24, kHashSize);
    // The archive lies between the launcher and the trailer, exactly.
    if (trailer.payload.offset + trailer.payload.size + quint64(kTrailerSize) != quint64(size) ||
        programSize(file) != trailer.payload.offset)
        return std::nullopt;
    return trailer;
}

// The archive as it is written: into the output file, hashed on the way.
struct Sink
{
    QSaveFile* file;
    QCryptographicHash hash{QCryptographicHash::Sha256};
    quint64 written = 0;

    static la_ssize_t write(archive*, void* self, const void* data, size_t size)
    {
        auto* sink = static_cast<Sink*>(self);
        const char* bytes = static_cast<const char*>(data);
        if (sink->file->write(bytes, qint64(size)) != qint64(size))
            return -1;
        sink->hash.addData(QByteArrayView(bytes, qsizetype(size)));
        sink->written += size;
        return la_ssize_t(size);
    }
};

// The archive as it is read: the payload's bytes only, with the share read so far.
struct Source
{
    QFile file;
    quint64 left = 0;
    quint64 total = 0;
    QByteArray buffer;
    const std::function<bool(double)>* progress = nullptr;

    static la_ssize_t read(archive* reader, void* self, const void** data)
    {
        auto* source = static_cast<Source*>(self);
        const qint64 count = source->file.read(source->buffer.data(), qint64(std::min<quint64>(source->left, kBlock)));
        if (count < 0)
            return -1;
        source->left -= quint64(count);
        if (*source->progress && source->total &&
            !(*source->progress)(double(source->total - source->left) / double(source->total))) {
            archive_set_error(reader, ECANCELED, "stopped");
            return -1;
        }
        *data = source->buffer.constData();
        return la_ssize_t(count);
    }
};

bool copyData(archive* from, archive* to)
{
    const void* block = nullptr;
    size_t size = 0;
    la_int64_t offset = 0;
    for (;;) {
        const int r = archive_read_data_block(from, &block, &size, &offset);
        if (r == ARCHIVE_EOF)
            return true;
        if (r != ARCHIVE_OK || archive_write_data_block(to, block, size, offset) != ARCHIVE_OK)
            return false;
    }
}

// An archived name that stays inside the one bundle folder: relative, no "..".
bool isInside(const QString& name, const QString& top)
{
    if (name.isEmpty() || name.startsWith(u'/'))
        return false;
    const QStringList parts = name.split(u'/', Qt::SkipEmptyParts);
    return !parts.isEmpty() && parts.first() == top && !parts.contains(QStringLiteral(".."));
}

} // namespace

std::optional<RVPackage::Payload> RVPackage::payloadOf(const QString& path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return std::nullopt;
    const auto trailer = trailerOf(file);
    return trailer ? std::optional(trailer->payload) : std::nullopt;
}

std::uint64_t RVPackage::launcherSize(const QString& path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return 0;
    return std::min<quint64>(programSize(file).value_or(quint64(file.size())), quint64(file.size()));
}

bool RVPackage::carriesData(const QString& path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return false;
    const auto program = programSize(file);
    return program && quint64(file.size()) > *program;
}

bool RVPackage::verify(const QString& path, const Payload& payload)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return false;
    const auto trailer = trailerOf(file);
    if (!trailer || trailer->payload.offset != payload.offset || !file.seek(qint64(payload.offset)))
        return false;
    QCryptographicHash hash(QCryptographicHash::Sha256);
    quint64 left = payload.size;
    QByteArray buffer(kBlock, Qt::Uninitialized);
    while (left > 0) {
        const qint64 count = file.read(buffer.data(), qint64(std::min<quint64>(left, kBlock)));
        if (count <= 0)
            return false;
        hash.addData(QByteArrayView(buffer.constData(), count));
        left -= quint64(count);
    }
    return hash.result() == trailer->hash;
}

QString RVPackage::write(const QString& launcher, const QString& bundle, const QString& output)
{
    const QFileInfo bundleInfo(bundle);
    if (!bundleInfo.isDir())
        return QStringLiteral("%1 is no folder").arg(bundle);
    QFile in(launcher);
    if (!in.open(QIODevice::ReadOnly))
        return QStringLiteral("cannot read %1").arg(launcher);
    QSaveFile out(output);
    if (!out.open(QIODevice::WriteOnly))
        return QStringLiteral("cannot write %1").arg(output);
    for (quint64 left = launcherSize(launcher); left > 0;) {
        const QByteArray block = in.read(qint64(std::min<quint64>(left, kBlock)));
        if (block.isEmpty() || out.write(block) != block.size())
            return QStringLiteral("cannot copy %1").arg(launcher);
        left -= quint64(block.size());
    }
    const quint64 offset = quint64(out.pos());

    Sink sink{&out};
    Archive writer(archive_write_new(), archive_write_free);
    archive_write_set_format_pax_restricted(writer.get());
    if (archive_write_add_filter_zstd(writer.get()) != ARCHIVE_OK)
        archive_write_add_filter_gzip(writer.get());
    archive_write_set_bytes_in_last_block(writer.get(), 1); // no padding after the archive
    if (archive_write_open(writer.get(), &sink, nullptr, &Sink::write, nullptr) != ARCHIVE_OK)
        return archiveError(writer.get());

    Archive disk(archive_read_disk_new(), archive_read_free);
    archive_read_disk_set_symlink_physical(disk.get()); // links are archived as links
    archive_read_disk_set_standard_lookup(disk.get());
    const QString root = QDir::cleanPath(bundleInfo.absoluteFilePath());
    if (archive_read_disk_open(disk.get(), QFile::encodeName(root).constData()) != ARCHIVE_OK)
        return archiveError(disk.get());
    const QString top = QFileInfo(root).fileName();
    for (;;) {
        std::unique_ptr<archive_entry, void (*)(archive_entry*)> entry(archive_entry_new(), archive_entry_free);
        const int r = archive_read_next_header2(disk.get(), entry.get());
        if (r == ARCHIVE_EOF)
            break;
        if (r != ARCHIVE_OK)
            return archiveError(disk.get());
        archive_read_disk_descend(disk.get());
        const QString source = QFile::decodeName(archive_entry_sourcepath(entry.get()));
        archive_entry_set_pathname(entry.get(), QFile::encodeName(top + source.mid(root.size())).constData());
        if (archive_write_header(writer.get(), entry.get()) != ARCHIVE_OK)
            return archiveError(writer.get());
        if (archive_entry_filetype(entry.get()) == AE_IFREG && archive_entry_size(entry.get()) > 0) {
            QFile data(source);
            if (!data.open(QIODevice::ReadOnly))
                return QStringLiteral("cannot read %1").arg(source);
            while (!data.atEnd()) {
                const QByteArray block = data.read(kBlock);
                if (block.isEmpty() || archive_write_data(writer.get(), block.constData(), size_t(block.size())) < 0)
                    return QStringLiteral("cannot archive %1").arg(source);
            }
        }
    }
    if (archive_write_close(writer.get()) != ARCHIVE_OK)
        return archiveError(writer.get());

    QByteArray trailer(kMagic, 8);
    trailer.resize(kTrailerSize - kHashSize);
    qToLittleEndian<quint64>(offset, trailer.data() + 8);
    qToLittleEndian<quint64>(sink.written, trailer.data() + 16);
    trailer += sink.hash.result();
    if (out.write(trailer) != trailer.size() || !out.commit())
        return QStringLiteral("cannot write %1").arg(output);
    QFile::setPermissions(output, QFile::permissions(output) | QFile::ExeOwner | QFile::ExeGroup | QFile::ExeOther |
                                      QFile::ReadGroup | QFile::ReadOther);
    return {};
}

QString RVPackage::extract(const QString& path, const Payload& payload, const QString& folder,
                           const std::function<bool(double)>& progress, QString* error)
{
    const auto fail = [error](const QString& why) {
        if (error)
            *error = why;
        return QString();
    };
    Source source;
    source.file.setFileName(path);
    if (!source.file.open(QIODevice::ReadOnly) || !source.file.seek(qint64(payload.offset)))
        return fail(QStringLiteral("cannot read %1").arg(path));
    source.left = source.total = payload.size;
    source.buffer.resize(kBlock);
    source.progress = &progress;

    Archive reader(archive_read_new(), archive_read_free);
    archive_read_support_format_tar(reader.get());
    archive_read_support_filter_zstd(reader.get());
    archive_read_support_filter_gzip(reader.get());
    if (archive_read_open(reader.get(), &source, nullptr, &Source::read, nullptr) != ARCHIVE_OK)
        return fail(archiveError(reader.get()));
    Archive writer(archive_write_disk_new(), archive_write_free);
    archive_write_disk_set_options(writer.get(), ARCHIVE_EXTRACT_TIME | ARCHIVE_EXTRACT_PERM | ARCHIVE_EXTRACT_SECURE_NODOTDOT |
                                                     ARCHIVE_EXTRACT_SECURE_SYMLINKS | ARCHIVE_EXTRACT_NO_OVERWRITE);
    archive_write_disk_set_standard_lookup(writer.get());

    QString top;
    for (;;) {
        archive_entry* entry = nullptr;
        const int r = archive_read_next_header(reader.get(), &entry);
        if (r == ARCHIVE_EOF)
            break;
        if (r != ARCHIVE_OK)
            return fail(archiveError(reader.get()));
        const QString name = QFile::decodeName(archive_entry_pathname(entry));
        if (top.isEmpty())
            top = name.section(u'/', 0, 0, QString::SectionSkipEmpty);
        if (!top.endsWith(QStringLiteral(".app")) || !isInside(name, top))
            return fail(QStringLiteral("%1 lies outside the product").arg(name));
        archive_entry_set_pathname(entry, QFile::encodeName(folder + u'/' + name).constData());
        if (const char* link = archive_entry_hardlink(entry)) {
            const QString target = QFile::decodeName(link);
            if (!isInside(target, top))
                return fail(QStringLiteral("%1 links outside the product").arg(name));
            archive_entry_set_hardlink(entry, QFile::encodeName(folder + u'/' + target).constData());
        }
        if (archive_write_header(writer.get(), entry) != ARCHIVE_OK || !copyData(reader.get(), writer.get()) ||
            archive_write_finish_entry(writer.get()) != ARCHIVE_OK)
            return fail(archiveError(writer.get()));
    }
    if (top.isEmpty())
        return fail(QStringLiteral("the archive is empty"));
    if (archive_write_close(writer.get()) != ARCHIVE_OK)
        return fail(archiveError(writer.get()));
    return folder + u'/' + top;
}
