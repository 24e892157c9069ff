// Makes the installer's own resources at build time: the "Done" completion chime, the almost
// silent "SoundOfSilence", the check mark and the demo product's icon.
#include <QGuiApplication>
#include <QImage>
#include <QPainter>
#include <QPainterPath>
#include <QFile>
#include <QtEndian>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <vector>

namespace {

constexpr int kRate = 44100;

bool writeWave(const QString& path, const std::vector<float>& samples)
{
    QByteArray data;
    for (float s : samples) {
        const qint16 v = qint16(std::lround(std::clamp(s, -1.0f, 1.0f) * 32767.0f));
        char bytes[2];
        qToLittleEndian(v, bytes);
        data.append(bytes, 2);
    }
    auto u32 = [](quint32 v) { char b[4]; qToLittleEndian(v, b); return QByteArray(b, 4); };
    auto u16 = [](quint16 v) { char b[2]; qToLittleEndian(v, b); return QByteArray(b, 2); };
    const QByteArray header = "RIFF" + u32(quint32(36 + data.size())) + "WAVEfmt " + u32(16) + u16(1) + u16(1) +
                              u32(kRate) + u32(kRate * 2) + u16(2) + u16(16) + "data" + u32(quint32(data.size()));
    QFile file(path);
    return file.open(QIODevice::WriteOnly) && file.write(header + data) == header.size() + data.size();
}

// Two soft bell tones a fifth apart, each fading out.
std::vector<float> chime()
{
    std::vector<float> samples(size_t(kRate * 0.7));
    const double notes[2][2] = {{0.0, 880.0}, {0.12, 1318.5}};
    for (size_t i = 0; i < samples.size(); ++i) {
        const double t = double(i) / kRate;
        double value = 0;
        for (const auto& note : notes) {
            const double local = t - note[0];
            if (local >= 0)
                value += 0.35 * std::sin(2 * M_PI * note[1] * local) * std::exp(-local * 6.0) * std::min(1.0, local * 400);
        }
        samples[i] = float(value);
    }
    return samples;
}

std::vector<float> silence()
{
    std::vector<float> samples(size_t(kRate * 0.3));
    for (size_t i = 0; i < samples.size(); ++i)
        samples[i] = float(0.0005 * std::sin(2 * M_PI * 440.0 * double(i) / kRate));
    return samples;
}

QImage checkmark()
{
    QImage image(128, 128, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    QPainter p(&image);
    p.setRenderHint(QPainter::Antialiasing);
    p.setPen(Qt::NoPen);
    p.setBrush(QColor(0x2e, 0xa0, 0x43));
    p.drawEllipse(QRectF(6, 6, 116, 116));
    QPainterPath tick;
    tick.moveTo(36, 66);
    tick.lineTo(56, 86);
    tick.lineTo(94, 44);
    p.setPen(QPen(Qt::white, 13, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
    p.setBrush(Qt::NoBrush);
    p.drawPath(tick);
    return image;
}

QImage demoIcon()
{
    QImage image(256, 256, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    QPainter p(&image);
    p.setRenderHint(QPainter::Antialiasing);
    QLinearGradient gradient(0, 0, 0, 256);
    gradient.setColorAt(0, QColor(0x4b, 0x6c, 0xd8));
    gradient.setColorAt(1, QColor(0x23, 0x2f, 0x7a));
    p.setBrush(gradient);
    p.setPen(Qt::NoPen);
    p.drawRoundedRect(QRectF(16, 16, 224, 224), 48, 48);
    QPainterPath v;
    v.moveTo(70, 72);
    v.lineTo(128, 190);
    v.lineTo(186, 72);
    p.setPen(QPen(QColor(0xf4, 0xc4, 0x30), 26, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
    p.drawPath(v);
    return image;
}

// A control-tint swatch of 32 points at the given density: the glossy look of older systems
// ("Mav"), the flat one ("Yos") and the flat one on a dark bezel ("YosDark"), in the blue or the
// graphite tint.
QImage tintSwatch(const QString& style, bool blue, int density)
{
    const QColor tint = blue ? QColor(0x1b, 0x7f, 0xf5) : QColor(0x8e, 0x8e, 0x93);
    QImage image(32 * density, 32 * density, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    QPainter p(&image);
    p.setRenderHint(QPainter::Antialiasing);
    p.scale(density, density);
    p.setPen(Qt::NoPen);
    const QRectF bead(3, 3, 26, 26);
    if (style == QStringLiteral("YosDark")) {
        p.setBrush(QColor(0x2b, 0x2b, 0x2d));
        p.drawRoundedRect(QRectF(0, 0, 32, 32), 7, 7);
    }
    if (style == QStringLiteral("Mav")) {
        QLinearGradient gloss(0, bead.top(), 0, bead.bottom());
        gloss.setColorAt(0, tint.lighter(160));
        gloss.setColorAt(0.5, tint);
        gloss.setColorAt(1, tint.darker(130));
        p.setBrush(gloss);
        p.drawEllipse(bead);
        p.setBrush(QColor(255, 255, 255, 110));
        p.drawEllipse(QRectF(8, 5, 16, 9));
    } else {
        p.setBrush(tint);
        p.drawEllipse(bead);
    }
    return image;
}

bool writeTintSwatches(const QString& folder)
{
    for (const QString& style : {QStringLiteral("Mav"), QStringLiteral("Yos"), QStringLiteral("YosDark")}) {
        for (const bool blue : {true, false}) {
            const QString name = QStringLiteral("/tint") + style + (blue ? QStringLiteral("Blue") : QStringLiteral("Graphite"));
            // Qt takes name@2x.png for a screen of density 2, and scales it down for 1.5.
            if (!tintSwatch(style, blue, 1).save(folder + name + QStringLiteral(".png")) ||
                !tintSwatch(style, blue, 2).save(folder + name + QStringLiteral("@2x.png")))
                return false;
        }
    }
    return true;
}

} // namespace

int main(int argc, char* argv[])
{
    if (argc != 3) {
        std::fprintf(stderr, "usage: make-resources <installer resources> <demo resources>\n");
        return 64;
    }
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QGuiApplication application(argc, argv);
    const QString resources = QString::fromLocal8Bit(argv[1]);
    const QString demo = QString::fromLocal8Bit(argv[2]);
    const bool ok = writeWave(resources + QStringLiteral("/Done.wav"), chime()) &&
                    writeWave(resources + QStringLiteral("/SoundOfSilence.wav"), silence()) &&
                    checkmark().save(resources + QStringLiteral("/checkmark.png")) &&
                    writeTintSwatches(resources) &&
                    demoIcon().save(demo + QStringLiteral("/demo.png"));
    return ok ? 0 : 1;
}
