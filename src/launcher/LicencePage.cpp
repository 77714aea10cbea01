#include "launcher/LicencePage.h"

#include "launcher/AcceptButtonStyle.h"
#include "launcher/StyleSheet.h"

#include <QPushButton>
#include <QTextCursor>
#include <QTextEdit>
#include <QVBoxLayout>

namespace {

void setLicence(QTextEdit& edit, const QString& licence)
{
    // As one edit: otherwise a cursor's place on its line is looked for after each piece.
    QTextCursor reading(edit.document());
    reading.beginEditBlock();
    edit.setMarkdown(licence);
    reading.endEditBlock();
}

} // namespace

LicencePage::LicencePage(const QString& licence, QWidget* parent)
    : QWidget(parent)
    , eulaEdit(new QTextEdit(this))
    , acceptButton(new QPushButton(QStringLiteral("Accept"), this))
{
    eulaEdit->setObjectName(QStringLiteral("eulaEdit"));
    eulaEdit->setAccessibleName(QStringLiteral("Licence agreement"));
    eulaEdit->setReadOnly(true);
    eulaEdit->setWordWrapMode(QTextOption::WordWrap);
    eulaEdit->setFixedHeight(licenceHeight);
    // The spaces between paragraphs are made from the font's size in points, which a font from a
    // style sheet does not have: so the text is read before there is one.
    setLicence(*eulaEdit, licence);
    eulaEdit->setStyleSheet(loadStyleSheet("textedit.qss"));

    acceptButton->setObjectName(QStringLiteral("acceptButton"));
    acceptButton->setStyleSheet(acceptButtonStyle());
    acceptButton->setCursor(Qt::PointingHandCursor);

    auto* layout = new QVBoxLayout(this);
    layout->addSpacing(11);
    layout->addWidget(eulaEdit);
    layout->addWidget(acceptButton, 0, Qt::AlignHCenter);
}
