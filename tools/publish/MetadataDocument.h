#pragma once

#include "package/SignedTerms.h"
#include "publish/BuildFields.h"
#include "publish/Platform.h"
#include "publish/Product.h"

#include <QJsonArray>
#include <QJsonObject>
#include <QString>
#include <QStringList>

#include <functional>
#include <optional>

namespace publish {

/// Display data of a package. What is not set stays as the document has it.
struct PackageLabels
{
    std::optional<QString> name;
    std::optional<QString> variant;
    std::optional<QString> logoLink;
    std::optional<bool> installAutomatically;

    bool operator==(const PackageLabels&) const = default;
};

/// The launcher metadata as the publisher edits it: members that it does not know stay. Beside what
/// the launcher reads, each product has a "history": its versions in the order of publication.
class MetadataDocument
{
public:
    /// An empty document.
    MetadataDocument() = default;

    /// Empty input gives the empty document; nothing with a text when the bytes are no JSON object.
    [[nodiscard]] static std::optional<MetadataDocument> read(const QByteArray& bytes,
                                                              QString* error);
    [[nodiscard]] QByteArray bytes() const;

    /// Makes this a channel's document: its addresses begin with "launcher/", without a slash,
    /// which leads out of the channel's folder, and it has no history. Builds that are set from now
    /// on get such addresses.
    void makeChannel();

    /// Adds the package when there is none of that folder, else sets the labels that are given.
    void setPackage(const QString& directory, const PackageLabels& labels);
    /// Adds the product, if it is not there, as the other document shows it, but without builds.
    void addProductOf(const MetadataDocument& other, const Product& product);
    /// Sets the addresses of the product's build for the platform, adding the build if need be. A
    /// package must have been set before.
    void setBuild(const Product& product, const Platform& platform,
                  const BuildAddresses& addresses);
    /// Forgets the build, current or not, if there is one.
    void removeBuild(const Product& product, const Platform& platform);
    /// Forgets the product with all builds and versions, if it is there.
    void removeProduct(const Product& product);
    /// Nothing stays of them when the address is empty.
    void setHints(const QString& address);

    [[nodiscard]] bool hasProduct(const Product& product) const;
    /// The packages in document order, then the launcher if it has builds.
    [[nodiscard]] QList<Product> products() const;
    [[nodiscard]] QList<Platform> platforms(const Product& product) const;
    /// The same, and those that were published without becoming current here.
    [[nodiscard]] QList<Platform> publishedPlatforms(const Product& product) const;
    /// Remembers a platform that was published without becoming current here.
    void addPublished(const Product& product, const Platform& platform);
    /// As they stand in the document; empty when there is no such build.
    [[nodiscard]] BuildAddresses build(const Product& product, const Platform& platform) const;

    /// The product's versions, oldest publication first.
    [[nodiscard]] QStringList history(const Product& product) const;
    void setHistory(const Product& product, const QStringList& versions);

    using HashOf = std::function<QString(const QString& address)>;
    /// States, beside each address of each build, the hash that `hashOf` has of what lies there on
    /// the server. False when it has none; then some are stated.
    [[nodiscard]] bool setHashes(const HashOf& hashOf);
    void setTerms(const SignedTerms& terms);
    /// Takes out what the above two set.
    void removeTerms();

private:
    [[nodiscard]] QJsonObject productObject(const Product& product) const;
    void setProductObject(const Product& product, const QJsonObject& object);
    [[nodiscard]] qsizetype packageIndex(const QString& directory) const;

    QJsonObject m_root;
    bool m_isChannel = false;
};

} // namespace publish
