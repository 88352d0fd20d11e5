#ifndef XML_DOCUMENT_H
#define XML_DOCUMENT_H

#include <QString>
#include <QVector>
#include <QXmlStreamAttributes>

class QXmlStreamReader;
class XmlDocument;

/// An element of a document, which must outlive it. The null element is one that is not there: it has no name, text,
/// attributes or children.
class XmlElement
{
public:
    XmlElement() = default;

    [[nodiscard]] bool isNull() const { return !m_document; }
    [[nodiscard]] QString tagName() const;
    /// Where its start tag ends, from 1 on; 0 of the null element.
    [[nodiscard]] int lineNumber() const;
    /// With that of all its descendants, in the order of the file. Blanks alone between two tags are not text.
    [[nodiscard]] QString text() const;
    [[nodiscard]] QXmlStreamAttributes attributes() const;
    [[nodiscard]] bool hasAttribute(const QString &name) const;
    [[nodiscard]] QString attribute(const QString &name, const QString &fallback = QString()) const;
    /// The first of the name, or of all when the name is empty; null when there is none.
    [[nodiscard]] XmlElement firstChildElement(const QString &tagName = QString()) const;
    [[nodiscard]] XmlElement nextSiblingElement(const QString &tagName = QString()) const;

private:
    friend class XmlDocument;

    XmlElement(const XmlDocument *document, int index);

    const XmlDocument *m_document = nullptr;
    int m_index = -1;
};

/// The elements and the text of an XML file: what a daemon keeps for the moment in which it reads its configuration.
class XmlDocument
{
public:
    /// Reads on to the end or to an error, which the reader then has. Elements nested deeper than `maxDepth` are one.
    void read(QXmlStreamReader &reader, int maxDepth);
    /// Null before a file is read.
    [[nodiscard]] XmlElement documentElement() const &;
    XmlElement documentElement() const && = delete; // It would outlive the document.

private:
    friend class XmlElement;
    struct Element
    {
        QString tagName;
        QXmlStreamAttributes attributes;
        int lineNumber;
        int parent; ///< Its index; -1 of the document element.
        int end; ///< The index after its last descendant.
        int textBegin; ///< In m_text.
        int textEnd;
    };

    void open(const QXmlStreamReader &reader, int parent);
    void close(int index);
    [[nodiscard]] XmlElement firstFrom(int index, int end, const QString &tagName) const;

    QVector<Element> m_elements; ///< In the order of their start tags: an element's descendants follow it.
    QString m_text; ///< Of all elements: that of an element is one piece of it.
};

#endif
