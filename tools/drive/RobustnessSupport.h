#pragma once

#include <QString>
#include <QStringList>

#include <sys/types.h>

// Helpers the robustness tests share with the soak driver.
namespace Robustness {

// A direct child of this process whose command name (/proc/<pid>/comm) is `command`, or
// 0. Only this process's own children are looked at, so nothing else is ever touched.
pid_t childNamed(const char* command);

// What is wrong with a settings file the program wrote (empty when it is a JSON object
// holding the layout catalogue of every screen in screenIds).
QString settingsProblem(const QString& path, const QStringList& screenIds = {});

} // namespace Robustness
