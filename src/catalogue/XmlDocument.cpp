#include "catalogue/XmlDocument.h"

#include <QXmlStreamReader>

XmlElement::XmlElement(const XmlDocument *document, int index)
    : m_document(document)
    , m_index(index)
{ }

QString XmlElement::tagName() const
{
    return isNull() ? QString() : m_document->m_elements.at(m_index).tagName;
}

int XmlElement::lineNumber() const
{
    return isNull() ? 0 : m_document->m_elements.at(m_index).lineNumber;
}

QString XmlElement::text() const
{
    if (isNull()) {
        return {};
    }
    const XmlDocument::Element &element = m_document->m_elements.at(m_index);
    return m_document->m_text.mid(element.textBegin, element.textEnd - element.textBegin);
}

QXmlStreamAttributes XmlElement::attributes() const
{
    return isNull() ? QXmlStreamAttributes() : m_document->m_elements.at(m_index).attributes;
}

bool XmlElement::hasAttribute(const QString &name) const
{
    return attributes().hasAttribute(name);
}

QString XmlElement::attribute(const QString &name, const QString &fallback) const
{
    return hasAttribute(name) ? attributes().value(name).toString() : fallback;
}

XmlElement XmlElement::firstChildElement(const QString &tagName) const
{
    if (isNull()) {
        return {};
    }
    return m_document->firstFrom(m_index + 1, m_document->m_elements.at(m_index).end, tagName);
}

XmlElement XmlElement::nextSiblingElement(const QString &tagName) const
{
    if (isNull() || m_document->m_elements.at(m_index).parent < 0) {
        return {};
    }
    const XmlDocument::Element &element = m_document->m_elements.at(m_index);
    return m_document->firstFrom(element.end, m_document->m_elements.at(element.parent).end, tagName);
}

void XmlDocument::read(QXmlStreamReader &reader, int maxDepth)
{
    int depth = 0;
    int current = -1;
    while (!reader.atEnd()) {
        switch (reader.readNext()) {
        case QXmlStreamReader::StartElement:
            open(reader, current);
            current = m_elements.size() - 1;
            if (++depth > maxDepth) {
                reader.raiseError(QStringLiteral("elements are nested too deeply"));
            }
            break;
        case QXmlStreamReader::EndElement:
            close(current);
            current = m_elements.at(current).parent;
            --depth;
            break;
        case QXmlStreamReader::Characters:
            if (reader.isCDATA() || !reader.text().trimmed().isEmpty()) {
                m_text += reader.text();
            }
            break;
        default:
            break;
        }
    }
}

XmlElement XmlDocument::documentElement() const &
{
    return m_elements.isEmpty() ? XmlElement() : XmlElement(this, 0);
}

void XmlDocument::open(const QXmlStreamReader &reader, int parent)
{
    m_elements.append({reader.qualifiedName().toString(), reader.attributes(), int(reader.lineNumber()), parent,
                       m_elements.size() + 1, m_text.size(), m_text.size()});
}

void XmlDocument::close(int index)
{
    m_elements[index].end = m_elements.size();
    m_elements[index].textEnd = m_text.size();
}

XmlElement XmlDocument::firstFrom(int index, int end, const QString &tagName) const
{
    for (; index < end; index = m_elements.at(index).end) {
        if (tagName.isEmpty() || m_elements.at(index).tagName == tagName) {
            return {this, index};
        }
    }
    return {};
}
