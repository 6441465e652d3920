// The answers of the server, one function for each address.

#include <algorithm>

#include "json_writer.h"
#include "pictures.h"
#include "platform.h"
#include "server.h"
#include "web_files.h"

namespace qzmon
{

namespace
{

std::string FieldOf(const Fields& fields, const char* name)
{
    const auto found = fields.find(name);
    return found == fields.end() ? std::string() : found->second;
}

std::string RequiredField(const Fields& fields, const char* name)
{
    if (fields.find(name) == fields.end()) throw Failure{400, "\"" + std::string(name) + "\" is missing."};
    return FieldOf(fields, name);
}

QZInt64 WholeOf(const char* name, const std::string& text)
{
    QZInt64 value = 0;
    if (!ParseInteger(text, &value))
        throw Failure{400, "\"" + std::string(name) + "\" takes a whole number, not \"" + text + "\"."};
    return value;
}

/// A number that is brought into its range; the initial one where the field is missing or empty.
QZInt64 NumberOf(const Fields& fields, const char* name, QZInt64 initial, QZInt64 least, QZInt64 most)
{
    const std::string text = FieldOf(fields, name);
    return text.empty() ? initial : std::clamp(WholeOf(name, text), least, most);
}

double RealOf(const Fields& fields, const char* name)
{
    constexpr double kMost = 1e6;
    const std::string text = RequiredField(fields, name);
    double value = 0;
    if (!ParseFinite(text, &value) || value > kMost || value < -kMost)
        throw Failure{400, "\"" + std::string(name) + "\" takes a number from -1000000 to 1000000, not \"" +
                               text + "\"."};
    return value;
}

QZInt64 RequiredId(const Fields& fields) { return WholeOf("id", RequiredField(fields, "id")); }

void AddCorrection(JsonWriter* json, const Correction& correction)
{
    json->Add("offset", correction.offset).Add("gain", correction.gain);
}

void AddTable(JsonWriter* json, const TablePage& table)
{
    json->OpenList("fields");
    for (const std::string& field : table.fields) json->Item(field);
    json->CloseList().OpenList("rows");
    for (const std::vector<std::string>& row : table.rows)
    {
        json->OpenList();
        for (const std::string& cell : row) json->Item(cell);
        json->CloseList();
    }
    json->CloseList().Add("count", table.count);
}

void AddSnapshot(JsonWriter* json, const Snapshot& snapshot)
{
    json->Add("id", snapshot.id)
        .Add("time", snapshot.time > 0 ? TimeText(snapshot.time) : std::string())
        .Add("label", snapshot.label);
}

/// The caches of a factory as attributes.
void AddCaches(JsonWriter* json, QZJsonObject* status)
{
    for (QZInt64 i = 0; i < status->AttrCount(); ++i)
    {
        double count = 0;
        ParseFinite(Utf8(status->GetAttrValue(i)->Val()), &count);
        json->Add(Utf8(status->GetAttrName(i)).c_str(), static_cast<QZInt64>(count));
    }
}

std::string Done() { return JsonWriter().Open().Add("done", true).Close().Str(); }

}  // namespace

Server::Answer Server::Page(const Fields&)
{
    Answer answer;
    answer.type = "text/html; charset=utf-8";
    answer.body = kMonitorHtml;
    constexpr std::string_view kPlace = "{{write-token}}";
    const std::size_t place = answer.body.find(kPlace);
    if (place != std::string::npos) answer.body.replace(place, kPlace.size(), m_access.WriteToken());
    return answer;
}

Server::Answer Server::GetToken(const Fields&)
{
    Answer answer;
    answer.body = JsonWriter().Open().Add("token", m_access.WriteToken()).Close().Str();
    return answer;
}

Server::Answer Server::Style(const Fields&)
{
    Answer answer;
    answer.type = "text/css; charset=utf-8";
    answer.body = kMonitorCss;
    return answer;
}

Server::Answer Server::Script(const Fields&)
{
    Answer answer;
    answer.type = "text/javascript; charset=utf-8";
    answer.body = kMonitorJs;
    return answer;
}

Server::Answer Server::Icon(const Fields&)
{
    Answer answer;
    answer.type = "image/bmp";
    answer.body = DrawIcon();
    return answer;
}

Server::Answer Server::Chart(const Fields& fields)
{
    Settings& settings = m_monitor->GetSettings();
    ChartRequest request;
    request.width = static_cast<int>(NumberOf(fields, "w", 900, 240, 1600));
    request.height = static_cast<int>(NumberOf(fields, "h", 480, 120, 1600));
    request.dot = static_cast<int>(NumberOf(fields, "dot", 1, 1, 4));
    request.now = QZEnvironment::GetCurrentTimestamp();
    request.seconds = NumberOf(fields, "seconds", settings.Number("chart-seconds"), 10, 86400);
    request.gap = std::max<QZInt64>(3 * settings.Number("sample-ms"), 2500);
    for (const Channel& channel : m_monitor->GetStatus().channels) request.names.push_back(channel.name);
    Answer answer;
    answer.type = "image/bmp";
    answer.body = DrawChart(request, m_monitor->Recent(request.seconds));
    return answer;
}

Server::Answer Server::Ruler(const Fields& fields)
{
    const int width = static_cast<int>(NumberOf(fields, "w", 640, 240, 1600));
    const int cursor = static_cast<int>(NumberOf(fields, "x", -1, -1, 1600));
    Answer answer;
    answer.type = "image/bmp";
    answer.body = DrawRuler(width, m_monitor->GetStore().Figures().fileBytes,
                            m_monitor->GetStore().Snapshots(), cursor);
    return answer;
}

Server::Answer Server::GetStatusJson(const Fields&)
{
    const Status status = m_monitor->GetStatus();
    const Sample latest = m_monitor->Latest();
    JsonWriter json;
    json.Open()
        .Add("connected", status.connected)
        .Add("simulated", status.simulated)
        .Add("plugged", status.plugged)
        .Add("device", status.device)
        .Add("trouble", status.trouble)
        .Add("lost", status.lostCount)
        .Add("samples", status.samples)
        .Add("now", TimeText(QZEnvironment::GetCurrentTimestamp()).substr(0, 19))
        .Add("time", latest.time > 0 ? TimeText(latest.time) : std::string())
        .Add("age", latest.time > 0 ? QZEnvironment::GetCurrentTimestamp() - latest.time : QZInt64{-1})
        .Add("chartSeconds", m_monitor->GetSettings().Number("chart-seconds"))
        .Add("rowsPerPage", m_monitor->GetSettings().Number("rows-per-page"));
    const StoreState store = m_monitor->GetStore().GetState();
    json.Open("storage")
        .Add("works", store.trouble.empty())
        .Add("trouble", store.trouble)
        .Add("notice", store.notice)
        .Add("stored", store.stored)
        .Add("atRisk", store.atRisk)
        .Add("lost", store.lost)
        .Close();
    json.OpenList("channels");
    for (std::size_t i = 0; i < status.channels.size(); ++i)
    {
        const Channel& channel = status.channels[i];
        json.Open().Add("name", channel.name).Add("color", ChannelColor(static_cast<int>(i)));
        if (i < latest.values.size()) json.Add("value", latest.values[i]);
        AddCorrection(&json, channel.correction);
        json.Close();
    }
    Answer answer;
    answer.body = json.CloseList().Close().Str();
    return answer;
}

Server::Answer Server::GetSamples(const Fields& fields)
{
    const QZInt64 seconds =
        NumberOf(fields, "seconds", m_monitor->GetSettings().Number("chart-seconds"), 1, 86400);
    JsonWriter json;
    json.Open().OpenList("samples");
    for (const Sample& sample : m_monitor->Recent(seconds))
    {
        json.Open().Add("time", TimeText(sample.time)).OpenList("values");
        for (const double value : sample.values) json.Item(value);
        json.CloseList().Close();
    }
    Answer answer;
    answer.body = json.CloseList().Close().Str();
    return answer;
}

Server::Answer Server::GetTable(const Fields& fields)
{
    const std::string name = FieldOf(fields, "name").empty() ? "samples" : FieldOf(fields, "name");
    const QZInt64 size = NumberOf(fields, "size", m_monitor->GetSettings().Number("rows-per-page"), 1, 200);
    const QZInt64 page = NumberOf(fields, "page", 0, 0, 1000000000);
    JsonWriter json;
    json.Open().Add("name", name).Add("page", page).Add("size", size);
    AddTable(&json, m_monitor->GetStore().Rows(name, page, size));
    json.OpenList("tables").Item("samples").Item("parameters").CloseList();
    Answer answer;
    answer.body = json.Close().Str();
    return answer;
}

Server::Answer Server::GetParameters(const Fields&)
{
    const Status status = m_monitor->GetStatus();
    JsonWriter json;
    json.Open().OpenList("channels");
    for (const Channel& channel : status.channels)
    {
        json.Open().Add("name", channel.name);
        AddCorrection(&json, channel.correction);
        json.Close();
    }
    Answer answer;
    answer.body = json.CloseList().Close().Str();
    return answer;
}

Server::Answer Server::SetParameter(const Fields& fields)
{
    const QZInt64 channel = WholeOf("channel", RequiredField(fields, "channel"));
    Correction asked;
    asked.offset = RealOf(fields, "offset");
    asked.gain = RealOf(fields, "gain");
    const Channel set = m_monitor->SetCorrection(channel, asked);
    JsonWriter json;
    json.Open().Add("name", set.name);
    AddCorrection(&json, set.correction);
    json.Open("asked");
    AddCorrection(&json, asked);
    json.Close()
        .Add("agrees", asked == set.correction)
        .Add("message", SetMessage(set.name, asked, set.correction));
    Answer answer;
    answer.body = json.Close().Str();
    return answer;
}

Server::Answer Server::GetSnapshots(const Fields&)
{
    std::vector<Snapshot> snapshots = m_monitor->GetStore().Snapshots();
    JsonWriter json;
    json.Open().OpenList("snapshots");
    for (std::size_t i = snapshots.size(); i > 0; --i)
    {
        json.Open().Add("number", static_cast<QZInt64>(i));
        AddSnapshot(&json, snapshots[i - 1]);
        json.Close();
    }
    Answer answer;
    answer.body = json.CloseList().Close().Str();
    return answer;
}

Server::Answer Server::TakeSnapshot(const Fields& fields)
{
    constexpr std::size_t kMostLabel = 200;
    const std::string label = FieldOf(fields, "label");
    if (label.size() > kMostLabel) throw Failure{400, "A label has 200 bytes at most."};
    const Snapshot snapshot = m_monitor->TakeSnapshot(label);
    JsonWriter json;
    json.Open();
    AddSnapshot(&json, snapshot);
    Answer answer;
    answer.body = json.Close().Str();
    return answer;
}

Server::Answer Server::GetPreview(const Fields& fields)
{
    const Preview preview =
        m_monitor->GetStore().Look(RequiredId(fields), NumberOf(fields, "rows", 8, 1, 200));
    JsonWriter json;
    json.Open();
    AddSnapshot(&json, preview.snapshot);
    json.Open("samples");
    AddTable(&json, preview.samples);
    json.Close().Open("parameters");
    AddTable(&json, preview.parameters);
    Answer answer;
    answer.body = json.Close().Close().Str();
    return answer;
}

Server::Answer Server::Restore(const Fields& fields)
{
    const std::string note = m_monitor->Restore(RequiredId(fields));
    Answer answer;
    answer.body = JsonWriter().Open().Add("done", true).Add("note", note).Close().Str();
    return answer;
}

Server::Answer Server::GetLog(const Fields& fields)
{
    JsonWriter json;
    json.Open().OpenList("entries");
    const QZInt64 count = NumberOf(fields, "count", 50, 1, 1000);
    for (const auto& [time, text] : m_monitor->LogEntries(static_cast<std::size_t>(count)))
        json.Open().Add("time", time).Add("text", text).Close();
    Answer answer;
    answer.body = json.CloseList().Close().Str();
    return answer;
}

Server::Answer Server::GetFigures(const Fields&)
{
    const StoreFigures store = m_monitor->GetStore().Figures();
    const ProcessFigures process = MeasureProcess();
    JsonWriter json;
    json.Open()
        .Add("seconds", static_cast<QZInt64>((QZEnvironment::GetTickCount() - m_start) / 1000))
        .Add("connections", static_cast<QZInt64>(ConnectCount()))
        .Add("closing", static_cast<QZInt64>(ConnectCloseWaitCount()))
        .Add("workers", static_cast<QZInt64>(ThreadPoolCount()))
        .Add("working", static_cast<QZInt64>(ThreadPoolWorkingCount()))
        .Add("threads", static_cast<QZInt64>(process.threads))
        .Add("descriptors", static_cast<QZInt64>(process.descriptors))
        .Add("memory", static_cast<QZInt64>(process.memory))
        .Add("fileBytes", store.fileBytes)
        .Add("rows", store.samples)
        .Add("snapshots", store.snapshots)
        .Add("waiting", store.waiting)
        .Add("syncs", store.syncs)
        .Add("syncMs", store.syncMs);
    json.Open("caches");
    QZJsonObject* status = QZHttpFactory::GetStatus();
    AddCaches(&json, status);
    QZHttpFactory::Recycle(&status);
    status = QZJsonFactory::GetStatus();
    AddCaches(&json, status);
    QZJsonFactory::Recycle(&status);
    Answer answer;
    answer.body = json.Close().Close().Str();
    return answer;
}

Server::Answer Server::GetSettings(const Fields&)
{
    JsonWriter json;
    json.Open().OpenList("settings");
    for (const Setting& setting : Settings::All())
    {
        if (std::string(setting.name) == "http-token") continue;
        json.Open()
            .Add("name", setting.name)
            .Add("value", m_monitor->GetSettings().Get(setting.name))
            .Add("comment", setting.comment)
            .Add("live", setting.live)
            .Add("least", setting.least)
            .Add("most", setting.most)
            .Close();
    }
    Answer answer;
    answer.body = json.CloseList().Close().Str();
    return answer;
}

Server::Answer Server::SetSetting(const Fields& fields)
{
    m_monitor->ChangeSetting(FieldOf(fields, "name"), FieldOf(fields, "value"));
    return GetSettings(fields);
}

Server::Answer Server::Plug(const Fields& fields)
{
    const std::string text = RequiredField(fields, "plugged");
    QZBool plugged = 0;
    if (!QZConvert::ParseBool(text.c_str(), &plugged))
        throw Failure{400, "\"plugged\" takes true or false, not \"" + text + "\"."};
    m_monitor->Plug(plugged != 0);
    Answer answer;
    answer.body = Done();
    return answer;
}

}  // namespace qzmon
