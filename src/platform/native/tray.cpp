#include "platform/native/tray.h"

#include <QAction>
#include <QIcon>
#include <QMenu>
#include <QPainter>
#include <QPixmap>
#include <QSystemTrayIcon>

namespace launchagent::native {

QIcon AgentIcon() {
  QPixmap pixmap(64, 64);
  pixmap.fill(Qt::transparent);
  QPainter p(&pixmap);
  p.setRenderHint(QPainter::Antialiasing);
  p.setBrush(QColor(30, 90, 160));
  p.setPen(Qt::NoPen);
  p.drawEllipse(2, 2, 60, 60);
  p.setPen(Qt::white);
  QFont font = p.font();
  font.setBold(true);
  font.setPixelSize(40);
  p.setFont(font);
  p.drawText(pixmap.rect(), Qt::AlignCenter, "V");
  p.end();
  return QIcon(pixmap);
}

AgentTray::AgentTray(NativeEventLoop& loop, std::function<void()> fnShowLog,
                     std::function<void()> fnOpenSetup)
    : menu_(new QMenu()), icon_(new QSystemTrayIcon()) {
  QObject::connect(menu_->addAction("Show log"), &QAction::triggered, menu_.get(),
                   [&loop, fnShowLog] { loop.Deliver(fnShowLog); });
  QObject::connect(menu_->addAction("Agent Setup..."), &QAction::triggered, menu_.get(),
                   [&loop, fnOpenSetup] { loop.Deliver(fnOpenSetup); });
  menu_->addSeparator();
  QObject::connect(menu_->addAction("Quit"), &QAction::triggered, menu_.get(),
                   [&loop] { loop.RequestEnd(); });
  icon_->setIcon(AgentIcon());
  icon_->setToolTip("Launch Service for Varno");
  icon_->setContextMenu(menu_.get());
  QObject::connect(icon_.get(), &QSystemTrayIcon::activated, icon_.get(),
                   [&loop, fnShowLog](QSystemTrayIcon::ActivationReason reason) {
                     if (reason == QSystemTrayIcon::Trigger) loop.Deliver(fnShowLog);
                   });
  icon_->show();
}

AgentTray::~AgentTray() = default;

bool AgentTray::Available() const { return QSystemTrayIcon::isSystemTrayAvailable(); }

}  // namespace launchagent::native
