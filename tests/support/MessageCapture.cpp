#include "support/MessageCapture.h"

namespace {

// The log's handler is a plain function without a context of its own.
MessageCapture* currentCapture = nullptr;

} // namespace

MessageCapture::MessageCapture()
    : m_previous(qInstallMessageHandler(&MessageCapture::take))
{
    Q_ASSERT(!currentCapture);
    currentCapture = this;
}

MessageCapture::~MessageCapture()
{
    currentCapture = nullptr;
    qInstallMessageHandler(m_previous);
}

void MessageCapture::clear()
{
    m_lines.clear();
    m_warnings.clear();
}

void MessageCapture::take(QtMsgType type, const QMessageLogContext& context, const QString& text)
{
    currentCapture->m_lines.append(text);
    if (type == QtWarningMsg)
        currentCapture->m_warnings.append(text);
    else if (type == QtFatalMsg && currentCapture->m_previous)
        currentCapture->m_previous(type, context, text);
}
