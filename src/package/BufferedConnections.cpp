#include "package/BufferedConnections.h"

#include <algorithm>

namespace {

bool tunnels(const QNetworkProxy& proxy)
{
    return proxy.capabilities().testFlag(QNetworkProxy::TunnelingCapability);
}

// The choice of a socket that is left with it: the first that can carry a connection.
bool socketConnectsDirectly(const QUrl& url)
{
    const QNetworkProxyQuery query(url.host(), url.port(80));
    const QList<QNetworkProxy> proxies = QNetworkProxyFactory::proxyForQuery(query);
    const auto chosen = std::find_if(proxies.begin(), proxies.end(), tunnels);
    return chosen != proxies.end() && chosen->type() == QNetworkProxy::NoProxy;
}

// Nothing but the connection is the proxy's: it would also be asked for the host's address.
QNetworkProxy leftToTheSocket()
{
    QNetworkProxy proxy(QNetworkProxy::DefaultProxy);
    proxy.setCapabilities(QNetworkProxy::TunnelingCapability);
    return proxy;
}

} // namespace

QList<QNetworkProxy> BufferedConnections::queryProxy(const QNetworkProxyQuery& query)
{
    QList<QNetworkProxy> proxies = proxyForQuery(query);
    // An encrypted connection is buffered in any case.
    if (query.url().scheme() == QLatin1StringView("http") &&
        proxies.constFirst().type() == QNetworkProxy::NoProxy &&
        socketConnectsDirectly(query.url()))
        proxies = {leftToTheSocket()};
    return proxies;
}
