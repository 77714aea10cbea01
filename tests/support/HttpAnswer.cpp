#include "support/HttpAnswer.h"

#include <utility>

HttpAnswer HttpAnswer::ok(const QByteArray& body)
{
    HttpAnswer answer;
    answer.body = body;
    return answer;
}

HttpAnswer HttpAnswer::error(int status, const QByteArray& body)
{
    HttpAnswer answer = ok(body);
    answer.status = status;
    return answer;
}

HttpAnswer HttpAnswer::redirect(const QString& target, int status)
{
    HttpAnswer answer = error(status, "<html>moved</html>");
    answer.headers.append({"Location", target.toUtf8()});
    return answer;
}

HttpAnswer HttpAnswer::truncated(const QByteArray& body, qsizetype sentBytes)
{
    HttpAnswer answer = ok(body);
    answer.end = End::Close;
    answer.sentBytes = sentBytes;
    return answer;
}

HttpAnswer HttpAnswer::resetAfter(const QByteArray& body, qsizetype sentBytes)
{
    HttpAnswer answer = truncated(body, sentBytes);
    answer.end = End::Reset;
    return answer;
}

HttpAnswer HttpAnswer::drip(const QByteArray& body, qsizetype bytes, int milliseconds)
{
    HttpAnswer answer = ok(body);
    answer.dripBytes = bytes;
    answer.dripMs = milliseconds;
    return answer;
}

HttpAnswer HttpAnswer::stall()
{
    HttpAnswer answer = stallAfter({}, 0);
    answer.silent = true;
    return answer;
}

HttpAnswer HttpAnswer::stallAfter(const QByteArray& body, qsizetype sentBytes)
{
    HttpAnswer answer = truncated(body, sentBytes);
    answer.end = End::Hang;
    return answer;
}

HttpAnswer HttpAnswer::calling(std::function<void()> hook) const
{
    HttpAnswer answer = *this;
    answer.onRequest = std::move(hook);
    return answer;
}
