#pragma once

#include "publish/PublishKit.h"
#include "publish/Verification.h"
#include "support/ScriptedHttpServer.h"

namespace publish {

class ContentSource;
struct VerifyOptions;

/// A content with all that can be verified: a package with assets, a launcher, and hints with a
/// picture.
class VerifyFixture : public PublishFixture
{
public:
    /// Publishes it, and forgets the notes on what was written: damage has to show without them,
    /// since a server has none. The faults.
    [[nodiscard]] QStringList fill();

    /// The bytes of the package's program.
    [[nodiscard]] static QByteArray client();

    /// Verifies the folder as it is; the faults. Fills in `verified`.
    QStringList verify();
    /// The same, of another source.
    QStringList verify(ContentSource& source, const VerifyOptions& options);

    /// Changes a file of the content, which must hold `before`.
    void replaceIn(const QString& address, const QByteArray& before, const QByteArray& after) const;

    /// Lets the server serve the content as it is now.
    void serve(ScriptedHttpServer& server) const;
    /// An answer with the headers that belong to the address.
    [[nodiscard]] static HttpAnswer servedAs(const QString& address, const QByteArray& body);

    VerifyReport verified;
};

/// The folder of the package's build.
inline const QString folder = folder10;

} // namespace publish
