#include "shared/Hints.h"

#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QImageReader>
#include <QLocale>
#include <QRegularExpression>
#include <QResource>
#include <QSet>
#include <QTest>

#include <array>
#include <cstddef>

namespace {

struct Entry
{
    const char* path;
    qint64 size;
    int width = 0;
    int height = 0;
};

// Everything that the program carries. Sizes are part of it: other tools compare the bundle with
// this.
constexpr std::array bundle{
    Entry{"styles/window.qss", 273},
    Entry{"styles/progress.qss", 471},
    Entry{"styles/label-13.qss", 141},
    Entry{"styles/label-11.qss", 151},
    Entry{"styles/checkbox.qss", 376},
    Entry{"styles/package-group.qss", 450},
    Entry{"styles/hint-group.qss", 558},
    Entry{"styles/textbrowser.qss", 2169},
    Entry{"styles/textbrowser-links.qss", 81},
    Entry{"styles/textedit.qss", 2215},
    Entry{"hints.json", 163470},
    Entry{"documents/quelra-eula.md", 21664},
    Entry{"images/launcher/BackgroundImage.jpg", 100342, 800, 454},
    Entry{"images/launcher/QuelraLogo_Classic.png", 21549, 240, 96},
    Entry{"images/launcher/QuelraLogo_UpdatingLauncher.png", 12803, 196, 152},
    Entry{"images/launcher/QuelraLogo_LaunchingClient.png", 13008, 196, 152},
    Entry{"images/launcher/OrlenvikLogo.png", 1586, 168, 36},
    Entry{"images/launcher/Button_Blue_idle.png", 2554, 98, 40},
    Entry{"images/launcher/Button_Blue_hover.png", 2471, 98, 40},
    Entry{"images/launcher/Button_Blue_pressed.png", 2554, 98, 40},
    Entry{"images/launcher/Button_Orange_idle.png", 2554, 98, 40},
    Entry{"images/launcher/Button_Orange_hover.png", 2471, 98, 40},
    Entry{"images/launcher/Button_Orange_pressed.png", 2554, 98, 40},
    Entry{"images/launcher/Button_Green_idle.png", 2554, 98, 40},
    Entry{"images/launcher/Button_Green_hover.png", 2471, 98, 40},
    Entry{"images/launcher/Button_Green_pressed.png", 2554, 98, 40},
    Entry{"images/launcher/Button_Red_idle.png", 2554, 98, 40},
    Entry{"images/launcher/Button_Red_hover.png", 2471, 98, 40},
    Entry{"images/launcher/Button_Red_pressed.png", 2554, 98, 40},
    Entry{"images/launcher/Icon_Download.png", 798, 34, 34},
    Entry{"images/launcher/Icon_Update.png", 1024, 34, 34},
    Entry{"images/launcher/Icon_Play.png", 773, 34, 34},
    Entry{"images/launcher/ProgressBar_BG.png", 4221, 106, 42},
    Entry{"images/launcher/ProgressBar.png", 236, 1, 37},
    Entry{"images/launcher/checkbox-checked.png", 337, 12, 12},
    Entry{"images/launcher/checkbox-unchecked.png", 202, 12, 12},
    Entry{"images/launcher/hint-background.png", 15910, 104, 117},
    Entry{"images/launcher/clientpackage-background.png", 12904, 102, 102},
    Entry{"images/launcher/scrollbar-texture-vertical.png", 2041, 12, 96},
    Entry{"images/launcher/scrollbar-handle-vertical.png", 424, 12, 44},
    Entry{"images/launcher/scrollbar-buttonup-up.png", 332, 12, 12},
    Entry{"images/launcher/scrollbar-buttonup-down.png", 329, 12, 12},
    Entry{"images/launcher/scrollbar-buttondown-up.png", 340, 12, 12},
    Entry{"images/launcher/scrollbar-buttondown-down.png", 336, 12, 12},
    Entry{"images/launcher/QuelraLogo_Classic_disabled.png", 12668, 196, 129},
    Entry{"images/launcher/QuelraLogo_Beta.png", 12783, 196, 129},
    Entry{"images/launcher/QuelraLogo_Beta_disabled.png", 12631, 196, 129},
    Entry{"images/launcher/QuelraLogo_Preview.png", 13293, 196, 129},
    Entry{"images/launcher/QuelraLogo_Preview_disabled.png", 12745, 196, 129},
    Entry{"images/launcher/QuelraLogo_QT.png", 12888, 196, 129},
    Entry{"images/launcher/QuelraLogo_QT_disabled.png", 10918, 196, 129},
    Entry{"images/launcher/QuelraLogo_Test.png", 38978, 196, 129},
    Entry{"images/launcher/QuelraLogo_Test_disabled.png", 20679, 196, 129},
    Entry{"images/launcher/button-close-up.png", 661, 16, 16},
    Entry{"images/launcher/button-close-hover.png", 678, 16, 16},
    Entry{"images/launcher/button-close-down.png", 672, 16, 16},
};

QString resourcePath(const char* path)
{
    return QLatin1StringView(":/") + QLatin1StringView(path);
}

QByteArray content(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

bool isCompressedEntry(QLatin1StringView path)
{
    return path == QLatin1StringView("hints.json") ||
           path == QLatin1StringView("styles/textbrowser.qss") ||
           path == QLatin1StringView("styles/textedit.qss");
}

} // namespace

class ResourcesTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void holdsEveryEntryInItsForm_data();
    void holdsEveryEntryInItsForm();
    void holdsNothingElse();
    void compressedEntriesReadBackAsTheirSources();
    void styleSheetsHaveWindowsLineEndsAndBlanks();
    void everyPathInStyleSheetsResolves();
    void everyButtonCombinationExists();
    void licenceHasItsLinesAndHeadings();
    void hintsHaveTheirNumberTitlesAndForm();
    void hintPicturesAreDeliveredWithTheDemo();
};

void ResourcesTest::holdsEveryEntryInItsForm_data()
{
    QTest::addColumn<int>("index");
    for (std::size_t i = 0; i < bundle.size(); ++i)
        QTest::newRow(bundle.at(i).path) << static_cast<int>(i);
}

void ResourcesTest::holdsEveryEntryInItsForm()
{
    QFETCH(int, index);
    const Entry& entry = bundle.at(static_cast<std::size_t>(index));
    const QResource resource(resourcePath(entry.path));
    QVERIFY(resource.isValid());
    QCOMPARE(resource.uncompressedSize(), entry.size);
    QCOMPARE(resource.compressionAlgorithm(), isCompressedEntry(QLatin1StringView(entry.path))
                                                  ? QResource::ZlibCompression
                                                  : QResource::NoCompression);
    QCOMPARE(resource.locale().language(), QLocale::C);
    if (entry.width == 0)
        return;
    QImageReader reader(resource.absoluteFilePath());
    QCOMPARE(reader.format(),
             QByteArray(QByteArrayView(entry.path).endsWith(".jpg") ? "jpeg" : "png"));
    QCOMPARE(reader.size(), QSize(entry.width, entry.height));
    QVERIFY2(!reader.read().isNull(), qPrintable(reader.errorString()));
}

void ResourcesTest::holdsNothingElse()
{
    QSet<QString> expected;
    for (const Entry& entry : bundle)
        expected.insert(resourcePath(entry.path));
    QDirIterator files(QStringLiteral(":/"), QDir::Files, QDirIterator::Subdirectories);
    while (files.hasNext()) {
        const QString path = files.next();
        // What the toolkit brings for itself.
        if (path.startsWith(QLatin1StringView(":/qt-project.org")) ||
            path.startsWith(QLatin1StringView(":/qpdf")))
            continue;
        QVERIFY2(expected.remove(path), qPrintable(path));
    }
    QVERIFY(expected.isEmpty());
}

void ResourcesTest::compressedEntriesReadBackAsTheirSources()
{
    for (const Entry& entry : bundle) {
        const QString source =
            QStringLiteral(VORNAK_RESOURCE_FOLDER "/") + QLatin1StringView(entry.path);
        const QByteArray bytes = content(source);
        QCOMPARE(bytes.size(), entry.size);
        QVERIFY2(content(resourcePath(entry.path)) == bytes, entry.path);
    }
}

void ResourcesTest::styleSheetsHaveWindowsLineEndsAndBlanks()
{
    for (const QString& name : QDir(QStringLiteral(":/styles")).entryList()) {
        const QByteArray sheet = content(QStringLiteral(":/styles/") + name);
        QCOMPARE(sheet.count('\n'), sheet.count("\r\n"));
        QVERIFY2(sheet.count('\n') > 0 && !sheet.contains('\t'), qPrintable(name));
    }
}

void ResourcesTest::everyPathInStyleSheetsResolves()
{
    const QRegularExpression address(QStringLiteral("url\\(([^)]*)\\)"));
    int found = 0;
    for (const QString& name : QDir(QStringLiteral(":/styles")).entryList()) {
        auto matches =
            address.globalMatch(QString::fromUtf8(content(QStringLiteral(":/styles/") + name)));
        while (matches.hasNext()) {
            const QString path = matches.next().captured(1);
            QVERIFY2(QFile::exists(path), qPrintable(name + QLatin1Char(' ') + path));
            ++found;
        }
    }
    QVERIFY(found >= 18);
}

void ResourcesTest::everyButtonCombinationExists()
{
    const QString image = QStringLiteral(":/images/launcher/Button_%1_%2.png");
    for (const char* colour : {"Blue", "Orange", "Green"}) {
        for (const char* state : {"idle", "hover", "pressed"})
            QVERIFY(QFile::exists(image.arg(QLatin1StringView(colour), QLatin1StringView(state))));
    }
    for (const char* icon : {"Download", "Update", "Play"})
        QVERIFY(QFile::exists(
            QStringLiteral(":/images/launcher/Icon_%1.png").arg(QLatin1StringView(icon))));
}

void ResourcesTest::licenceHasItsLinesAndHeadings()
{
    const QByteArray licence = content(QStringLiteral(":/documents/quelra-eula.md"));
    QVERIFY(!licence.contains('\r'));
    QCOMPARE(licence.count('\n'), 172);
    int headings = 0;
    for (const QByteArray& line : licence.split('\n'))
        headings += line.startsWith("# ") || line.startsWith("## ") ? 1 : 0;
    QCOMPARE(headings, 39);
}

void ResourcesTest::hintsHaveTheirNumberTitlesAndForm()
{
    const QByteArray bytes = content(QStringLiteral(":/hints.json"));
    QCOMPARE(bytes.count('\n'), bytes.count("\r\n"));
    const QList<HintEntry> hints = loadEmbeddedHints();
    QCOMPARE(hints.size(), 343);
    // One table row: a picture of 80 by 80 in the left cell, the text in the right one.
    const QRegularExpression form(QStringLiteral(
        "^<table[^>]*><tr[^>]*><td[^>]*><p style=\"margin-right: ?(5|8)px;?\"><img "
        "src=\"/images/news/[a-z_]+\\.png\"[^>]*width=\"80\" height=\"80\"[^>]*></p></td><td[^>]*>"
        "(<br ?/?>)*<p[^>]*>(<br ?/?>)*[^<]+.*</p></td></tr></table>$"));
    QSet<QString> titles;
    QSet<QString> texts;
    for (const HintEntry& hint : hints) {
        titles.insert(hint.title);
        texts.insert(hint.richText);
        QVERIFY2(form.match(hint.richText).hasMatch(), qPrintable(hint.richText));
    }
    QCOMPARE(titles.size(), 33);
    QCOMPARE(texts.size(), 343);
    for (const char* title :
         {"Random Hint", "Store Mount", "Security Hint", "General Game Options"})
        QVERIFY2(titles.contains(QLatin1StringView(title)), title);
    QVERIFY(hintsHaveRichContent(hints));
}

void ResourcesTest::hintPicturesAreDeliveredWithTheDemo()
{
    const QRegularExpression address(QStringLiteral("src=\"(/images/news/[^\"]+)\""));
    QSet<QString> pictures;
    for (const HintEntry& hint : loadEmbeddedHints())
        pictures.insert(address.match(hint.richText).captured(1));
    QVERIFY(pictures.size() >= 8);
    for (const QString& picture : pictures) {
        QImageReader reader(QStringLiteral(VORNAK_RESOURCE_FOLDER "/../tools/democlient") +
                            picture);
        QVERIFY2(reader.size() == QSize(80, 80), qPrintable(picture));
    }
}

QTEST_GUILESS_MAIN(ResourcesTest)
#include "tst_resources.moc"
