#pragma once

#include "publish/MetadataSigner.h"

namespace publish {

/// A program that signs, perhaps by way of another machine. It is run with two arguments: the path
/// of the document, and the path where it has to write the signature file. Standard input is handed
/// on, so that it may ask somebody.
class SigningProgram : public MetadataSigner
{
public:
    explicit SigningProgram(QString program);

    /// Waits until the program has ended, however long that takes.
    [[nodiscard]] std::optional<QByteArray> sign(const QByteArray& document, ContentFolder& tree,
                                                 QString* error) const override;
    [[nodiscard]] std::optional<minisign::PublicKey> publicKey() const override { return {}; }

private:
    QString m_program;
};

} // namespace publish
