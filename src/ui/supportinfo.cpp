#include "ui/supportinfo.h"

#include "ui/logdialog.h"

#include <QApplication>
#include <QClipboard>
#include <QDialogButtonBox>
#include <QDir>
#include <QFile>
#include <QOffscreenSurface>
#include <QOpenGLContext>
#include <QOpenGLFunctions>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QVBoxLayout>

#include <algorithm>

namespace {

constexpr int maxHeadLines = 1000; // the report is written at the start

bool isReportLine(const QString& message)
{
    static const QStringList heads = {QStringLiteral("OS: "), QStringLiteral("CPU: "),
                                      QStringLiteral("RAM: "), QStringLiteral("HDD: "),
                                      QStringLiteral("SCR")};
    return std::any_of(heads.begin(), heads.end(),
                       [&](const QString& head) { return message.startsWith(head); });
}

// The start-up writes the report to the log, where everybody finds it.
QStringList systemReport()
{
    QStringList lines;
    QFile log(sessionLogPath());
    if (!log.open(QIODevice::ReadOnly))
        return lines;
    for (int i = 0; i < maxHeadLines && !log.atEnd(); ++i) {
        const QString line = QString::fromUtf8(log.readLine()).trimmed();
        const int message = line.indexOf(QLatin1String("INFO  "));
        if (message >= 0 && isReportLine(line.mid(message + 6)))
            lines << line.mid(message + 6);
    }
    return lines;
}

QString graphics()
{
    QOffscreenSurface surface;
    surface.create();
    QOpenGLContext context;
    if (!context.create() || !context.makeCurrent(&surface))
        return SupportInfoDialog::tr("none");
    const auto text = [&context](GLenum name) {
        return QString::fromLatin1(reinterpret_cast<const char*>(context.functions()->glGetString(name)));
    };
    const QString result = QStringLiteral("%1, %2").arg(text(GL_VERSION), text(GL_RENDERER));
    context.doneCurrent();
    return result;
}

} // namespace

QString supportInfoText()
{
    QStringList lines;
    lines << QCoreApplication::applicationName() + QLatin1Char(' ') + QCoreApplication::applicationVersion();
    lines << QStringLiteral("Qt: %1").arg(QString::fromLatin1(qVersion()));
    lines << QStringLiteral("OpenGL: %1").arg(graphics());
    lines << systemReport();
    lines << QStringLiteral("Log: %1").arg(QDir::toNativeSeparators(sessionLogPath()));
    return lines.join(QLatin1Char('\n'));
}

SupportInfoDialog::SupportInfoDialog(QWidget* parent) : QDialog(parent)
{
    setWindowTitle(tr("Support Info"));
    auto* text = new QPlainTextEdit(supportInfoText(), this);
    text->setObjectName(QStringLiteral("supporttext"));
    text->setAccessibleName(tr("Report for the support"));
    text->setReadOnly(true);
    text->setLineWrapMode(QPlainTextEdit::NoWrap);
    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Close, this);
    QPushButton* copy = buttons->addButton(tr("Copy"), QDialogButtonBox::ActionRole);
    copy->setToolTip(tr("Copy the report to the clipboard"));
    connect(copy, &QPushButton::clicked, this,
            [text] { QApplication::clipboard()->setText(text->toPlainText()); });
    buttons->button(QDialogButtonBox::Close)->setDefault(true);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(text);
    layout->addWidget(buttons);
    resize(680, 280);
}
