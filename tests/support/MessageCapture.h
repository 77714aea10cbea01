#pragma once

#include <QStringList>
#include <QtGlobal>

/// Takes the messages of Qt's log for as long as it lives. Not nested.
class MessageCapture
{
public:
    MessageCapture();
    ~MessageCapture();
    Q_DISABLE_COPY_MOVE(MessageCapture)

    /// Every line so far, as it was logged.
    [[nodiscard]] QStringList lines() const { return m_lines; }
    [[nodiscard]] QStringList warnings() const { return m_warnings; }
    void clear();

private:
    static void take(QtMsgType type, const QMessageLogContext& context, const QString& text);

    QtMessageHandler m_previous;
    QStringList m_lines;
    QStringList m_warnings;
};
