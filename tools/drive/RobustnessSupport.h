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

// What each thread of a process is doing, one line per thread: its name, state, the
// kernel function it waits in and the system call it is in (from /proc), for a test
// that finds the process hanging where it should have ended.
QString threadStates(pid_t pid);

// Whether the process's main thread sleeps waiting for events (in poll or select), not
// busy and not inside a system call such as a file's sync to disk.
bool waitsForEvents(pid_t pid);

} // namespace Robustness
