/**
 * @file
 * What is known of a file, once for people and for programs.
 */
#pragma once

#include <QJsonObject>
#include <QJsonValue>
#include <QString>
#include <QVector>

class Output;

/** One thing known: for people a label and a text, for programs a key and a value. */
struct Fact {
    QString label;
    QString text;
    QString key;
    QJsonValue value;
};

/** Several things known, in the order in which people read them. */
using Facts = QVector<Fact>;

/** The facts as one object. A fact without a key is left out. */
QJsonObject jsonOf(const Facts& facts);
/** The facts line by line, indented and with their texts in one column. A fact without a label is left out. */
QString factsText(const Facts& facts);
/** Writes factsText(). */
void writeFacts(const Facts& facts, Output& output);

/** A number as people write it, in full and without exponent where it is whole. */
QString numberText(double value);
/** Numbers with blanks between them, in as many digits as anybody reads. */
QString numbersText(const QVector<double>& values);
