#include "platform/macos/SparkleUpdater.h"

#import <Foundation/Foundation.h>
#import <Sparkle/Sparkle.h>

// Answers Sparkle's question which channels besides the default one to offer.
@interface ParquetaUpdaterDelegate : NSObject <SPUUpdaterDelegate>
@property (nonatomic) BOOL includesPrereleases;
@end

@implementation ParquetaUpdaterDelegate
- (NSSet<NSString*>*)allowedChannelsForUpdater:(SPUUpdater*)updater
{
    (void)updater;
    return self.includesPrereleases ? [NSSet setWithObject:@"beta"] : [NSSet set];
}
@end

struct SparkleUpdater::Native
{
    // Strong here: the controller keeps its updater delegate weakly.
    ParquetaUpdaterDelegate* delegate = nil;
    SPUStandardUpdaterController* controller = nil;
};

SparkleUpdater::SparkleUpdater()
    : m_native(std::make_unique<Native>())
{
    @autoreleasepool {
        m_native->delegate = [[ParquetaUpdaterDelegate alloc] init];
        m_native->controller = [[SPUStandardUpdaterController alloc] initWithStartingUpdater:YES
                                                                             updaterDelegate:m_native->delegate
                                                                          userDriverDelegate:nil];
    }
}

SparkleUpdater::~SparkleUpdater() = default;

bool SparkleUpdater::hasFeed()
{
    @autoreleasepool {
        id value = [NSBundle.mainBundle objectForInfoDictionaryKey:@"SUFeedURL"];
        NSString* feed = [value isKindOfClass:[NSString class]] ? value : nil;
        return feed.length > 0;
    }
}

void SparkleUpdater::checkForUpdates()
{
    [m_native->controller checkForUpdates:nil];
}

void SparkleUpdater::checkForUpdatesInBackground()
{
    [m_native->controller.updater checkForUpdatesInBackground];
}

void SparkleUpdater::setAutomaticallyChecks(bool automatically)
{
    SPUUpdater* updater = m_native->controller.updater;
    if (bool(updater.automaticallyChecksForUpdates) != automatically)
        updater.automaticallyChecksForUpdates = automatically;
}

void SparkleUpdater::setIncludesPrereleases(bool include)
{
    m_native->delegate.includesPrereleases = include;
}
