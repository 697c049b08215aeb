#include "app/platform/portal_file_dialogs.h"

#include <QDBusArgument>
#include <QDBusMetaType>
#include <QDBusObjectPath>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QEventLoop>
#include <QFile>
#include <QGuiApplication>
#include <QMessageBox>
#include <QPushButton>
#include <QRegularExpression>

// The portal's one answer to a request, a signal on the request's own path.
class PortalResponse : public QObject {
    Q_OBJECT
public:
    std::optional<uint> code;
    QVariantMap results;

signals:
    void arrived();

public slots:
    void take(uint response, const QVariantMap& values) {
        code = response;
        results = values;
        emit arrived();
    }
};

namespace {

const QString portalService = QStringLiteral("org.freedesktop.portal.Desktop");
const QString portalPath = QStringLiteral("/org/freedesktop/portal/desktop");
const QString requestInterface = QStringLiteral("org.freedesktop.portal.Request");

// A filter as the portal takes it: a name and its patterns, each a glob
// (kind 0) or a MIME type (kind 1); ours are all globs.
struct FilterPattern {
    uint kind = 0;
    QString pattern;
};

struct Filter {
    QString name;
    QList<FilterPattern> patterns;
};

QDBusArgument& operator<<(QDBusArgument& out, const FilterPattern& pattern) {
    out.beginStructure();
    out << pattern.kind << pattern.pattern;
    out.endStructure();
    return out;
}

const QDBusArgument& operator>>(const QDBusArgument& in, FilterPattern& pattern) {
    in.beginStructure();
    in >> pattern.kind >> pattern.pattern;
    in.endStructure();
    return in;
}

QDBusArgument& operator<<(QDBusArgument& out, const Filter& filter) {
    out.beginStructure();
    out << filter.name << filter.patterns;
    out.endStructure();
    return out;
}

const QDBusArgument& operator>>(const QDBusArgument& in, Filter& filter) {
    in.beginStructure();
    in >> filter.name >> filter.patterns;
    in.endStructure();
    return in;
}

// "HTML document (*.html)" becomes the name "HTML document" with the glob
// "*.html".
QVariant portalFilters(const QStringList& nameFilters) {
    qDBusRegisterMetaType<FilterPattern>();
    qDBusRegisterMetaType<QList<FilterPattern>>();
    qDBusRegisterMetaType<Filter>();
    qDBusRegisterMetaType<QList<Filter>>();
    static const QRegularExpression named(QStringLiteral("^(.*?)\\s*\\(([^()]*)\\)$"));
    QList<Filter> filters;
    for (const QString& text : nameFilters) {
        QRegularExpressionMatch match = named.match(text.trimmed());
        Filter filter{match.hasMatch() ? match.captured(1) : text, {}};
        for (const QString& glob :
             (match.hasMatch() ? match.captured(2) : text).split(u' ', Qt::SkipEmptyParts))
            filter.patterns.append({0, glob});
        filters.append(filter);
    }
    return QVariant::fromValue(filters);
}

// Paths travel as the file system's bytes, ended by a zero.
QByteArray pathBytes(const QString& path) {
    return QFile::encodeName(path).append('\0');
}

} // namespace

QString PortalFileDialogs::parentWindow() const {
    // The portal's panel stays above the window it names; on X11 it is named
    // by its id, anywhere else it opens on its own.
    if (parent && QGuiApplication::platformName() == QLatin1String("xcb"))
        return QStringLiteral("x11:%1").arg(parent->window()->winId(), 0, 16);
    return {};
}

std::optional<QList<QUrl>> PortalFileDialogs::ask(const QString& method, const QString& title,
                                                  QVariantMap options) {
    if (!bus.isConnected())
        return std::nullopt;
    // The portal answers on a path named after our name on the bus and a
    // token of ours; listening there before asking, no answer can be missed.
    const QString token = QStringLiteral("tessary%1").arg(++asked);
    options.insert(QStringLiteral("handle_token"), token);
    QString handle = portalPath + QStringLiteral("/request/") +
                     bus.baseService().mid(1).replace(u'.', u'_') + u'/' + token;
    PortalResponse response;
    auto listen = [&](bool on) {
        const char* slot = SLOT(take(uint, QVariantMap));
        if (on)
            bus.connect(portalService, handle, requestInterface, QStringLiteral("Response"),
                        &response, slot);
        else
            bus.disconnect(portalService, handle, requestInterface, QStringLiteral("Response"),
                           &response, slot);
    };
    listen(true);

    QDBusMessage call = QDBusMessage::createMethodCall(
        portalService, portalPath, QStringLiteral("org.freedesktop.portal.FileChooser"), method);
    call << parentWindow() << title << options;
    QEventLoop loop;
    QObject::connect(&response, &PortalResponse::arrived, &loop, &QEventLoop::quit);
    QDBusPendingCallWatcher watcher(bus.asyncCall(call));
    QObject::connect(&watcher, &QDBusPendingCallWatcher::finished, &loop, [&] {
        QDBusPendingReply<QDBusObjectPath> reply = watcher;
        if (reply.isError()) {
            loop.quit();
        } else if (reply.value().path() != handle) {
            // A portal older than the token names the request its own way.
            listen(false);
            handle = reply.value().path();
            listen(true);
        }
    });
    // The panel is the portal's: until it answers, our windows take no input.
    loop.exec(QEventLoop::ExcludeUserInputEvents);
    listen(false);

    // 1 is the person cancelling; 2, or no answer, a portal that could not ask.
    if (!response.code || *response.code == 2)
        return std::nullopt;
    QList<QUrl> chosen;
    if (*response.code == 0)
        for (const QString& uri : response.results.value(QStringLiteral("uris")).toStringList())
            chosen.append(QUrl(uri));
    return chosen;
}

QList<QUrl> PortalFileDialogs::open(const OpenRequest& request) {
    if (request.asksForOneFolder() && !request.message.isEmpty()) {
        QMessageBox reason(QMessageBox::Question, request.title, request.title,
                           QMessageBox::NoButton, parent);
        reason.setInformativeText(request.message);
        reason.addButton(QStringLiteral("Cancel"), QMessageBox::RejectRole);
        QPushButton* choose =
            reason.addButton(QStringLiteral("Choose Folder…"), QMessageBox::AcceptRole);
        reason.setDefaultButton(choose);
        reason.exec();
        if (reason.clickedButton() != choose)
            return {};
    }
    QVariantMap options{{QStringLiteral("multiple"), request.multiple},
                        {QStringLiteral("directory"), request.chooseFolders}};
    if (!request.prompt.isEmpty())
        options.insert(QStringLiteral("accept_label"), request.prompt);
    // The folder asked for is where the panel opens, so allowing it is one
    // click on the button.
    if (request.initialFolder.isLocalFile())
        options.insert(QStringLiteral("current_folder"),
                       pathBytes(request.initialFolder.toLocalFile()));
    if (!request.nameFilters.isEmpty())
        options.insert(QStringLiteral("filters"), portalFilters(request.nameFilters));
    if (std::optional<QList<QUrl>> chosen =
            ask(QStringLiteral("OpenFile"),
                request.title.isEmpty() ? request.prompt : request.title, options))
        return *chosen;
    return fallback.open(request);
}

std::optional<QString> PortalFileDialogs::save(const SaveRequest& request) {
    QVariantMap options{{QStringLiteral("current_name"), request.proposedName}};
    if (!request.nameFilters.isEmpty())
        options.insert(QStringLiteral("filters"), portalFilters(request.nameFilters));
    std::optional<QList<QUrl>> chosen = ask(QStringLiteral("SaveFile"), request.title, options);
    if (!chosen)
        return fallback.save(request);
    if (chosen->isEmpty() || !chosen->front().isLocalFile())
        return std::nullopt;
    return chosen->front().toLocalFile();
}

#include "portal_file_dialogs.moc"
