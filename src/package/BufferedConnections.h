#pragma once

#include <QNetworkProxy>

/// Answers a network manager's question for proxies as the application would, so that the system's
/// settings are followed, but makes Qt buffer what comes over a direct plain connection.
///
/// Qt reads from an unbuffered socket where all its proxies are of the type NoProxy, and takes the
/// head of each answer from it byte by byte, one system call for each. A proxy of the type
/// DefaultProxy leaves the choice to the socket, which asks the application itself; it is named
/// only where that comes to a direct connection as well.
class BufferedConnections : public QNetworkProxyFactory
{
public:
    QList<QNetworkProxy> queryProxy(const QNetworkProxyQuery& query) override;
};
