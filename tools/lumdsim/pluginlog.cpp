// SPDX-License-Identifier: MIT
#include "tools/lumdsim/pluginlog.h"

#include <QtCore/QLoggingCategory>
#include <QtCore/QString>

namespace
{

std::function<void()> reportUnchanged;
QLoggingCategory::CategoryFilter applyRules = nullptr; ///< the user's
QtMessageHandler printMessage = nullptr;
bool debugIsWanted = false;

bool isPlugin(const char *category)
{
    return QLatin1String(category) == QLatin1String("com.velmo.lumd.plugin.notifications");
}

void filter(QLoggingCategory *category)
{
    applyRules(category);
    if (isPlugin(category->categoryName())) {
        debugIsWanted = category->isDebugEnabled();
        category->setEnabled(QtDebugMsg, true);
    }
}

void handle(QtMsgType type, const QMessageLogContext &context, const QString &message)
{
    const bool debug = type == QtDebugMsg && isPlugin(context.category);
    if (debug && message.startsWith(QLatin1String("Not publishing unchanged notification"))) {
        reportUnchanged();
    }
    if (!debug || debugIsWanted) {
        printMessage(type, context, message);
    }
}

} // namespace

void onUnchanged(std::function<void()> report)
{
    reportUnchanged = std::move(report);
    printMessage = qInstallMessageHandler(handle);
    applyRules = QLoggingCategory::installFilter(filter);
}
