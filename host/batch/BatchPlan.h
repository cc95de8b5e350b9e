/**
 * @file
 * Which files a batch makes of which.
 */
#pragma once

#include "InputList.h"

#include <QStringList>
#include <QVector>

#include <functional>

/** One file of a batch. */
struct BatchItem {
    QString input;
    QString output;
    bool isDone = false;  ///< nothing is to be done
};

/** Where the outputs of a batch go. */
struct BatchTarget {
    QString folder;
    QString suffix;  ///< empty: that of the input
    bool resume = false;
    QString log;                                                ///< the report of the run; empty: none
    std::function<QStringList(const QString& output)> besides;  ///< what is made with an output; null: nothing
};

/**
 * Gives this run's share of @p files its outputs, all in one folder: the input's name with the suffix. With resume,
 * what has an output that is newer than the input, and so has what is made besides, is done; outputs appear as a whole
 * or not at all.
 * @return why the plan is refused, or nothing: two files, also of other shares, would become the same one, or one of
 *         the files would be replaced
 */
QString planBatch(const QStringList& files, const InputListOptions& share, const BatchTarget& target,
                  QVector<BatchItem>& items);
