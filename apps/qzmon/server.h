#ifndef QZLIB_APPS_QZMON_SERVER_H
#define QZLIB_APPS_QZMON_SERVER_H

#include <functional>
#include <string>

#include "access.h"
#include "json_reader.h"
#include "monitor.h"

namespace qzmon
{

/// Serves the page and the data that the page asks for. It answers only the addresses in its table; no path
/// of a request reaches the file system.
///
/// Access decides which requests are answered.
///
/// The fields of a request are the parameters of its address and those of a body that is a JSON object.
class Server : public QZHttpServerEngine
{
public:
    /// The tokens are those of Access.
    Server(Monitor* monitor, QZErrorReport* report, const std::string& bind, QZUInt16 port,
           std::string accessToken, std::string writeToken);
    ~Server() override { Shutdown(); }

protected:
    QZHttpResponse* CreatePage(QZHttpRequest* request) override;

private:
    struct Answer
    {
        int status = 200;
        std::string type = "application/json; charset=utf-8";
        std::string body;
        std::string headers;
    };
    using Handler = Answer (Server::*)(const Fields& fields);
    struct Route
    {
        const char* method;
        const char* path;
        Handler handler;
    };
    static const Route kRoutes[];

    Answer Serve(QZHttpRequest* request);
    Answer Dispatch(QZHttpRequest* request);
    bool TakesToken(QZHttpRequest* request, Answer* answer);
    static std::string AllowedAt(const std::string& path);
    static Answer ErrorAnswer(QZHttpRequest* request, int status, const std::string& text);

    Answer Page(const Fields& fields);
    Answer Style(const Fields& fields);
    Answer Script(const Fields& fields);
    Answer Icon(const Fields& fields);
    Answer Chart(const Fields& fields);
    Answer Ruler(const Fields& fields);
    Answer GetToken(const Fields& fields);
    Answer GetStatusJson(const Fields& fields);
    Answer GetSamples(const Fields& fields);
    Answer GetTable(const Fields& fields);
    Answer GetParameters(const Fields& fields);
    Answer SetParameter(const Fields& fields);
    Answer GetSnapshots(const Fields& fields);
    Answer TakeSnapshot(const Fields& fields);
    Answer GetPreview(const Fields& fields);
    Answer Restore(const Fields& fields);
    Answer GetLog(const Fields& fields);
    Answer GetFigures(const Fields& fields);
    Answer GetSettings(const Fields& fields);
    Answer SetSetting(const Fields& fields);
    Answer Plug(const Fields& fields);

    Monitor* m_monitor;
    Access m_access;
    QZUInt64 m_start;
};

}  // namespace qzmon

#endif
