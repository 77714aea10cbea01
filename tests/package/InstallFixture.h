#pragma once

#include "package/PackageClient.h"
#include "support/ContentTree.h"
#include "support/MessageCapture.h"
#include "support/ScriptedHttpServer.h"
#include "support/TestFiles.h"

#include <QDir>
#include <QTemporaryDir>
#include <QTest>

#include <system_error>

/// Whether an installation runs in the blocking or in the asynchronous form; most tests hold for
/// both.
enum class Form { Blocking, Async };
Q_DECLARE_METATYPE(Form)

/// SHA-256 of nothing.
inline const QString emptyHash =
    QStringLiteral("e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855");

struct Progress
{
    qint64 bytes = 0;
    qint64 total = 0;
    int number = 0;
    int count = 0;

    bool operator==(const Progress&) const = default;
};

struct InstallOutcome
{
    bool ok = false;
    QString error;
};

// Names of what an installation leaves in its folder beside the files.
inline const QString partial = QStringLiteral("partial.package.json.version");
inline const QString version = QStringLiteral("package.json.version");
inline const QString document = QStringLiteral("package.json");
inline const QString assetsMarker = QStringLiteral("assets.json.sha256");

/// The reason in the log where no system call gave one.
inline QString textOf(std::errc reason)
{
    return QString::fromLocal8Bit(std::make_error_code(reason).message());
}

/// The failure's text for a file or folder that cannot be written.
inline QString unwritable(const QString& path)
{
    return QStringLiteral("Failed to create folder: '%1'.").arg(path);
}

/// The reason in the log's only line, which says that `path` cannot be written; otherwise all that
/// was logged.
inline QString reasonFor(const QString& path, const MessageCapture& log)
{
    const QString start = QStringLiteral("Cannot write %1: ").arg(path);
    const QStringList lines = log.lines();
    if (lines.size() == 1 && lines.first().startsWith(start))
        return lines.first().sliced(start.size());
    return QStringLiteral("not one line for %1, but:\n").arg(path) + lines.join(u'\n');
}

/// A content server with a tree, and a client with an empty folder to install into.
class InstallFixture
{
public:
    InstallFixture()
    {
        m_client.setBaseUrl(m_server.baseUrl());
        QObject::connect(&m_client, &PackageClient::progress, &m_client,
                         [this](qint64 bytes, qint64 total, int number, int count) {
                             m_progress.append({bytes, total, number, count});
                         });
    }

    ScriptedHttpServer& server() { return m_server; }
    ContentTree& tree() { return m_tree; }
    PackageClient& client() { return m_client; }
    QList<Progress>& progress() { return m_progress; }

    /// What the tree's file of that number holds.
    static QByteArray contentOf(int number)
    {
        return testfiles::textBytes(2000 + 100 * number, static_cast<quint32>(number));
    }
    /// Adds assets "data/1.txt" and so on to the tree.
    void addFiles(int count)
    {
        for (int number = 1; number <= count; ++number)
            m_tree.addAsset(QStringLiteral("data/%1.txt").arg(number), contentOf(number));
    }

    /// Exists only once something is installed.
    [[nodiscard]] QString folder() const { return m_root.filePath(QStringLiteral("Quelra")); }
    [[nodiscard]] QString path(const QString& name) const { return QDir(folder()).filePath(name); }
    [[nodiscard]] QByteArray content(const QString& name) const
    {
        return testfiles::read(path(name));
    }
    /// Everything on disk, beside the folder too.
    [[nodiscard]] QStringList files() const { return testfiles::list(m_root.path()); }

    InstallOutcome installPackage(Form form)
    {
        return run(
            form,
            [this](QString* error) {
                return m_client.installPackage(m_tree.packageUrl(), m_tree.package, folder(),
                                               error);
            },
            [this](const PackageClient::DoneCallback& done) {
                m_client.installPackageAsync(m_tree.packageUrl(), m_tree.package, folder(), done);
            });
    }

    InstallOutcome installAssets(Form form)
    {
        return run(
            form,
            [this](QString* error) {
                return m_client.installAssets(m_tree.assetsUrl(), m_tree.assets,
                                              m_tree.assetsIdentity, folder(), error);
            },
            [this](const PackageClient::DoneCallback& done) {
                m_client.installAssetsAsync(m_tree.assetsUrl(), m_tree.assets,
                                            m_tree.assetsIdentity, folder(), done);
            });
    }

    /// Rows for a test that holds for both forms.
    static void addForms()
    {
        QTest::addColumn<Form>("form");
        QTest::newRow("blocking") << Form::Blocking;
        QTest::newRow("asynchronous") << Form::Async;
    }

private:
    template <typename Blocking, typename Async>
    static InstallOutcome run(Form form, Blocking blocking, Async async)
    {
        InstallOutcome outcome;
        if (form == Form::Blocking) {
            outcome.ok = blocking(&outcome.error);
            return outcome;
        }
        int calls = 0;
        async([&](bool ok, const QString& error) {
            ++calls;
            outcome = {ok, error};
        });
        if (!QTest::qWaitFor([&] { return calls > 0; }, 20000))
            outcome.error = QStringLiteral("the callback was never called");
        // Nothing may come after it.
        QTest::qWait(1);
        if (calls > 1)
            outcome = {false, QStringLiteral("the callback was called more than once")};
        return outcome;
    }

    ScriptedHttpServer m_server;
    ContentTree m_tree{m_server};
    QTemporaryDir m_root;
    PackageClient m_client{nullptr};
    QList<Progress> m_progress;
};

#define VERIFY_SUCCESS(expression)                                                                 \
    do {                                                                                           \
        const InstallOutcome outcomeOfRun = (expression);                                          \
        QVERIFY2(outcomeOfRun.ok, qUtf8Printable(outcomeOfRun.error));                             \
        QCOMPARE(outcomeOfRun.error, QString());                                                   \
    } while (false)

#define VERIFY_FAILURE(expression, text)                                                           \
    do {                                                                                           \
        const InstallOutcome outcomeOfRun = (expression);                                          \
        QCOMPARE(outcomeOfRun.error, QString(text));                                               \
        QVERIFY(!outcomeOfRun.ok);                                                                 \
    } while (false)
