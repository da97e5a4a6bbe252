#pragma once

#include "managers/FeedDownloader.h"

class QProcess;

// Downloads the feed in a parqueta-feed process started for the purpose, so the network
// stack never loads into Parqueta. Standard output is the document (refused beyond the
// largest response), standard error the helper's log lines and its failure in words.
class HelperFeedDownloader final : public FeedDownloader
{
    Q_OBJECT

public:
    // program: the helper's path; empty when it could not be found (every start() then
    // fails, saying so).
    explicit HelperFeedDownloader(QString program, QObject* parent = nullptr);
    ~HelperFeedDownloader() override;

    void start(const Request& request) override;
    void abort(const QString& message) override;
    bool isRunning() const override { return m_process != nullptr; }

    // The helper beside the running executable (the build tree, a bundle) or where the
    // package installs it (../libexec/parqueta); PARQUETA_FEED_HELPER overrides both.
    // Empty when there is none.
    static QString locate();

private:
    void readDocument();
    void end(const QString& failure);

    QString m_program;
    QProcess* m_process = nullptr;
    QByteArray m_document;
    qint64 m_largest = 0;
};
