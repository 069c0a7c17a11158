#include "ui/stylesheet.h"

#include <QApplication>
#include <QDialog>
#include <QFile>
#include <QPainter>
#include <QPalette>
#include <QProxyStyle>
#include <QVariant>

namespace {

bool isWordCharacter(QChar c)
{
    return (c >= QLatin1Char('a') && c <= QLatin1Char('z')) ||
           (c >= QLatin1Char('A') && c <= QLatin1Char('Z')) ||
           (c >= QLatin1Char('0') && c <= QLatin1Char('9'));
}

// By hand and not by QString::replace with a pattern: a value may hold backslashes.
void replaceName(QString& sheet, const QString& name, const QString& value)
{
    for (int at = sheet.indexOf(name); at >= 0; at = sheet.indexOf(name, at)) {
        const int end = at + name.size();
        if (end < sheet.size() && !isWordCharacter(sheet[end])) {
            sheet.replace(at, name.size(), value);
            at += value.size();
        } else {
            at = end;
        }
    }
}

} // namespace

QString expandStyleSheet(QString sheet, const QObject& properties)
{
    for (const QByteArray& name : properties.dynamicPropertyNames())
        replaceName(sheet, QLatin1Char('@') + QString::fromLatin1(name),
                    properties.property(name.constData()).toString());
    return sheet;
}

namespace {

QColor color(const char* key)
{
    return QColor(QCoreApplication::instance()->property(key).toString());
}

QPalette darkPalette()
{
    static const struct
    {
        QPalette::ColorRole role;
        const char* key;
    } roles[] = {
        {QPalette::Window, "colorback"},
        {QPalette::WindowText, "colortext"},
        {QPalette::Base, "colordark"},
        {QPalette::AlternateBase, "colormid"},
        {QPalette::Text, "colortext"},
        {QPalette::Button, "colorlight"},
        {QPalette::ButtonText, "colortext"},
        {QPalette::BrightText, "colortext"},
        {QPalette::ToolTipBase, "colorlight"},
        {QPalette::ToolTipText, "colortext"},
        {QPalette::Highlight, "coloredit"},
        {QPalette::HighlightedText, "coloractiveitemtext"},
        {QPalette::Link, "coloredit"},
        {QPalette::Light, "colorhighlight"},
        {QPalette::Midlight, "colorfront"},
        {QPalette::Mid, "colormid"},
        {QPalette::Dark, "colordark"},
        {QPalette::LinkVisited, "coloredit"},
        {QPalette::PlaceholderText, "colortextdisabled"},
    };
    QPalette palette = QApplication::palette();
    for (const auto& [role, key] : roles)
        if (const QColor value = color(key); value.isValid())
            palette.setColor(role, value);
    if (const QColor value = color("colortextdisabled"); value.isValid())
        for (const QPalette::ColorRole role : {QPalette::WindowText, QPalette::Text, QPalette::ButtonText})
            palette.setColor(QPalette::Disabled, role, value);
    return palette;
}

constexpr int dialogMargin = 16; // logical pixels
constexpr int boxIcon = 32;
constexpr double disabledOpacity = 0.35;

// The drawing of Fusion. A dialog that says nothing else has the same margins as those that do.
class WidgetStyle : public QProxyStyle
{
public:
    WidgetStyle() : QProxyStyle(QStringLiteral("Fusion")) {}

    int pixelMetric(PixelMetric metric, const QStyleOption* option, const QWidget* widget) const override
    {
        switch (metric) {
        case PM_LayoutLeftMargin:
        case PM_LayoutTopMargin:
        case PM_LayoutRightMargin:
        case PM_LayoutBottomMargin:
            if (qobject_cast<const QDialog*>(widget))
                return dialogMargin;
            break;
        case PM_MessageBoxIconSize:
            return boxIcon;
        default:
            break;
        }
        return QProxyStyle::pixelMetric(metric, option, widget);
    }

    // What Fusion makes of a light icon that is disabled can hardly be told from the icon itself.
    QPixmap generatedIconPixmap(QIcon::Mode mode, const QPixmap& pixmap,
                                const QStyleOption* option) const override
    {
        if (mode != QIcon::Disabled)
            return QProxyStyle::generatedIconPixmap(mode, pixmap, option);
        QPixmap pale(pixmap.size());
        pale.setDevicePixelRatio(pixmap.devicePixelRatio());
        pale.fill(Qt::transparent);
        QPainter painter(&pale);
        painter.setOpacity(disabledOpacity);
        painter.drawPixmap(0, 0, pixmap);
        return pale;
    }
};

QString readSheet(const char* path)
{
    QFile file(QString::fromLatin1(path));
    return file.open(QIODevice::ReadOnly) ? QString::fromUtf8(file.readAll()) : QString();
}

} // namespace

void setWidgetStyle()
{
    QCoreApplication::setAttribute(Qt::AA_UseHighDpiPixmaps);
    QCoreApplication::setAttribute(Qt::AA_DontShowIconsInMenus);
    QCoreApplication::setAttribute(Qt::AA_DisableWindowContextHelpButton);
    QApplication::setStyle(new WidgetStyle); // owned by the application
}

void applyStyle(bool tablet)
{
    QString sheet = readSheet(":/stylesheets/desktop.css");
    if (sheet.isEmpty())
        return;
    if (tablet)
        sheet += readSheet(":/stylesheets/tablet.css");
    QApplication::setPalette(darkPalette());
    qApp->setStyleSheet(expandStyleSheet(sheet, *QCoreApplication::instance()));
}
