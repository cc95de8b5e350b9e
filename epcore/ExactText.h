/**
 * @file
 * Text that XML cannot hold, kept beside what XML makes of it.
 */
#pragma once

#include <QDomElement>
#include <QString>

namespace ep {

/** True when every character of @p text comes back from XML. */
bool isHeldByXml(const QString& text);

/**
 * Where XML cannot hold @p text, states its UTF-16 units in the attribute @p attribute of @p element:
 * @verbatim
 *   "a<NUL>"   ->   <camera_make utf16="00610000">a&#65533;</camera_make>
 * @endverbatim
 */
void keepExactText(const QString& text, const char* attribute, QDomElement& element);

/** The text that such an attribute states, else @p text. */
QString exactText(const QDomElement& element, const char* attribute, const QString& text);

}  // namespace ep
