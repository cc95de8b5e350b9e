/**
 * @file
 * The pieces from which CxMetadata reads and writes its XML.
 */
#pragma once

#include "AsciiXml.h"

#include <QString>

class QDomDocument;
class QDomElement;
class QXmlStreamReader;

namespace ep {

constexpr char metadataRootTag[] = "metadata";
constexpr char metadataItemTag[] = "item";
constexpr char metadataClassAttribute[] = "class";

/** Deepest nesting of elements, the root included. */
constexpr int maxMetadataDepth = 256;

/** Most attributes of one element: QXmlStreamReader compares each with each. */
constexpr int maxMetadataAttributes = 256;

/** Longest text and most elements: hundreds of times what cameras say, and read in a second or two at worst. */
constexpr int maxMetadataCharacters = 1 << 23;
constexpr int maxMetadataElements = 1 << 18;

/**
 * True when @p xml is well-formed, has the root element of metadata, no document type declaration and nothing past the
 * limits above. Only such text may be handed to the DOM classes, which crash on deep nesting.
 */
bool isSoundMetadataXml(const QString& xml);

/** Makes @p reader ready for the two functions below and for isSoundMetadataXml() to agree with them. */
void startMetadataXml(QXmlStreamReader& reader, const QString& xml);

/**
 * The element at whose start @p reader stands, which moves on to its end. Other than with QDomDocument::setContent(),
 * white space is kept where it is the whole content of an element; between child elements it is dropped.
 */
QDomElement readDomElement(QXmlStreamReader& reader, QDomDocument& doc);

/** As readDomElement(), as XML text with everything that the element holds. CDATA sections become plain text. */
AsciiXml readVerbatimElement(QXmlStreamReader& reader);

/** Writes @p element, which stands at @p level below the root; rejects nesting past maxMetadataDepth. */
void writeDomElement(const QDomElement& element, int level, AsciiXml& xml);

}  // namespace ep
