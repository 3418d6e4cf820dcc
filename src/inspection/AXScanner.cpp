#include "AXScanner.h"

#include "core/Time.h"

namespace tk {

namespace AXScanner {
namespace {

const QString extrasMenuBarAttribute = QStringLiteral("AXExtrasMenuBar");
const QString roleAttribute = QStringLiteral("AXRole");
const QString titleAttribute = QStringLiteral("AXTitle");
const QString descriptionAttribute = QStringLiteral("AXDescription");
const QString positionAttribute = QStringLiteral("AXPosition");
const QString sizeAttribute = QStringLiteral("AXSize");
const QString childrenAttribute = QStringLiteral("AXChildren");

bool readsAs(const AXAttribute& attribute, AXAttribute::Kind kind)
{
    return attribute.error == AXResult::success && attribute.kind == kind;
}

bool isAccessibilityValue(const AXAttribute& attribute)
{
    return readsAs(attribute, AXAttribute::Kind::PointValue) ||
           readsAs(attribute, AXAttribute::Kind::SizeValue) ||
           readsAs(attribute, AXAttribute::Kind::OtherValue);
}

QString escaped(const QString& name)
{
    QString out;
    out.reserve(name.size() + 2);
    for (const QChar c : name) {
        switch (c.unicode()) {
        case '\\':
            out += QStringLiteral("\\\\");
            break;
        case '"':
            out += QStringLiteral("\\\"");
            break;
        case '\n':
            out += QStringLiteral("\\n");
            break;
        case '\r':
            out += QStringLiteral("\\r");
            break;
        case '\t':
            out += QStringLiteral("\\t");
            break;
        case 0:
            out += QStringLiteral("\\0");
            break;
        default:
            if (c.unicode() < 0x20 || c.unicode() == 0x7f)
                out += QStringLiteral("\\u{%1}").arg(c.unicode(), 0, 16);
            else
                out += c;
        }
    }
    return out;
}

// The state of one scan: everything belongs to the one call.
class Walk {
public:
    explicit Walk(const ScanEnvironment& environment)
        : m_ax(environment.accessibility), m_time(environment.time),
          m_deadline(environment.time.now() + timeLimit)
    {
    }

    bool pastDeadline() const { return !(m_time.now() < m_deadline); }

    void scanApplication(const ScanApp& app)
    {
        const AXElementRef application = m_ax.applicationElement(app.pid);
        if (!application)
            return;
        m_ax.setMessagingTimeout(application, messagingTimeout);
        const AXAttribute extras = m_ax.attribute(application, extrasMenuBarAttribute);
        if (!readsAs(extras, AXAttribute::Kind::Element) || !extras.element)
            return;
        m_app = &app;
        m_counter = 0;
        visit(extras.element, 0, QStringLiteral("extras"));
    }

    QList<ExternalItem> items;
    QStringList lines;

private:
    void visit(const AXElementRef& element, int level, const QString& path)
    {
        if (pastDeadline() || level > deepestLevel || m_counter > elementsPerApplication - 1)
            return;
        ++m_counter;
        // A timeout set on an element does not carry to the elements read from it.
        m_ax.setMessagingTimeout(element, messagingTimeout);
        const QString role = stringOf(m_ax.attribute(element, roleAttribute));
        if (role == QLatin1String("AXMenuBarItem") || role == QLatin1String("AXButton"))
            record(element, path);
        // No child would be visited: a request now could only overrun the deadline.
        if (pastDeadline())
            return;
        const AXAttribute children = m_ax.attribute(element, childrenAttribute);
        if (!readsAs(children, AXAttribute::Kind::ElementList))
            return;
        for (qsizetype i = 0; i < children.elements.size(); ++i)
            visit(children.elements[i], level + 1, path + QLatin1Char('.') + QString::number(i));
    }

    static QString stringOf(const AXAttribute& attribute)
    {
        return readsAs(attribute, AXAttribute::Kind::String) ? attribute.string : QString();
    }

    QString titleOf(const AXElementRef& element)
    {
        const AXAttribute title = m_ax.attribute(element, titleAttribute);
        if (readsAs(title, AXAttribute::Kind::String) && !title.string.isEmpty())
            return title.string;
        const AXAttribute description = m_ax.attribute(element, descriptionAttribute);
        if (readsAs(description, AXAttribute::Kind::String))
            return description.string;
        return QStringLiteral("Icono sin etiqueta");
    }

    void record(const AXElementRef& element, const QString& path)
    {
        ExternalItem item;
        item.title = titleOf(element);
        item.actions = m_ax.actionNames(element).value_or(QStringList());
        const AXSettable settable = m_ax.isAttributeSettable(element, positionAttribute);
        item.frame = frame(m_ax, element);
        item.bundleID = m_app->bundle;
        item.app = m_app->name.value_or(QStringLiteral("App"));
        item.id = m_app->bundle.value_or(QString::number(m_app->pid)) + QLatin1Char(':') + path +
                  QLatin1Char(':') + item.title;
        item.element = element;
        item.positionWritable = settable.settable && settable.error == AXResult::success;
        lines << reportLine(item, settable);
        items << std::move(item);
    }

    static QString reportLine(const ExternalItem& item, const AXSettable& settable)
    {
        return item.app + QStringLiteral(" / ") + item.title + QStringLiteral(": acciones=") +
               actionListText(item.actions) + QStringLiteral("; posición modificable=") +
               (settable.settable ? QStringLiteral("true") : QStringLiteral("false")) +
               QStringLiteral("; consulta=") + QString::number(settable.error) +
               QStringLiteral("; frame=") +
               (item.frame ? item.frame->text() : QStringLiteral("nil"));
    }

    Accessibility& m_ax;
    const TimeSource& m_time;
    const double m_deadline;
    const ScanApp* m_app = nullptr;
    int m_counter = 0;
};

} // namespace

ScanResult scan(const QList<ScanApp>& apps, const ScanEnvironment& environment)
{
    Walk walk(environment);
    const QDateTime started = environment.time.currentDateTime().toUTC();
    walk.lines << QStringLiteral("Fecha: ") + started.toString(Qt::ISODate)
               << QStringLiteral("macOS ") + environment.operatingSystemVersion
               << QStringLiteral("Accessibility autorizado: sí");
    for (const ScanApp& app : apps) {
        if (walk.pastDeadline()) {
            walk.lines << QStringLiteral("Exploración parcial: se alcanzó el límite de tiempo.");
            break;
        }
        walk.scanApplication(app);
    }
    walk.lines << QStringLiteral("Detectados: ") + QString::number(walk.items.size()) +
                      QStringLiteral(". No se ha modificado ningún icono externo. La ausencia de "
                                     "resultados no demuestra ausencia de iconos.");
    return {std::move(walk.items), walk.lines.join(QLatin1Char('\n'))};
}

std::optional<Rect> frame(Accessibility& accessibility, const AXElementRef& element)
{
    const AXAttribute position = accessibility.attribute(element, positionAttribute);
    if (!isAccessibilityValue(position))
        return std::nullopt;
    const AXAttribute size = accessibility.attribute(element, sizeAttribute);
    if (!isAccessibilityValue(size))
        return std::nullopt;
    if (position.kind != AXAttribute::Kind::PointValue ||
        size.kind != AXAttribute::Kind::SizeValue || !position.point || !size.size)
        return std::nullopt;
    return Rect{position.point->x(), position.point->y(), size.size->width(), size.size->height()};
}

QString actionListText(const QStringList& actions)
{
    QStringList quoted;
    quoted.reserve(actions.size());
    for (const QString& name : actions)
        quoted << QLatin1Char('"') + escaped(name) + QLatin1Char('"');
    return QLatin1Char('[') + quoted.join(QStringLiteral(", ")) + QLatin1Char(']');
}

} // namespace AXScanner

} // namespace tk
