#pragma once

#include <QString>

#include <array>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <memory>

class QByteArray;
class QXmlStreamReader;

/// The names of a scene's field elements, in the order of the file and of the scene list's columns.
constexpr std::array<const char *, 12> sceneElements{
    "position", "length", "type", "subtype", "lasttype", "title",
    "persons",  "place",  "time", "commemt", "latitude", "longitude",
};

/// One "scene" element: its first child of each field's name; other children are not kept.
///
/// A getter returns the text of its child: empty text if the child is empty or missing. It throws UserError if the
/// child holds elements, which is told by the child and not by the document: the other fields can still be read.
/// A setter makes its text the child's whole content.
class TXMLsceneType {
public:
    [[nodiscard]] QString Get_position() const { return text(0); }
    [[nodiscard]] QString Get_length() const { return text(1); }
    [[nodiscard]] QString Get_type() const { return text(2); }
    [[nodiscard]] QString Get_subtype() const { return text(3); }
    [[nodiscard]] QString Get_lasttype() const { return text(4); }
    [[nodiscard]] QString Get_title() const { return text(5); }
    [[nodiscard]] QString Get_persons() const { return text(6); }
    [[nodiscard]] QString Get_place() const { return text(7); }
    [[nodiscard]] QString Get_time() const { return text(8); }
    [[nodiscard]] QString Get_commemt() const { return text(9); }
    [[nodiscard]] QString Get_latitude() const { return text(10); }
    [[nodiscard]] QString Get_longitude() const { return text(11); }

    void Set_position(const QString &value) { setText(0, value); }
    void Set_length(const QString &value) { setText(1, value); }
    void Set_type(const QString &value) { setText(2, value); }
    void Set_subtype(const QString &value) { setText(3, value); }
    void Set_lasttype(const QString &value) { setText(4, value); }
    void Set_title(const QString &value) { setText(5, value); }
    void Set_persons(const QString &value) { setText(6, value); }
    void Set_place(const QString &value) { setText(7, value); }
    void Set_time(const QString &value) { setText(8, value); }
    void Set_commemt(const QString &value) { setText(9, value); }
    void Set_latitude(const QString &value) { setText(10, value); }
    void Set_longitude(const QString &value) { setText(11, value); }

    /// Reads the element that `reader` has just entered, up to its end.
    void read(QXmlStreamReader &reader);

private:
    [[nodiscard]] QString text(std::size_t field) const;
    void setText(std::size_t field, const QString &value);

    std::array<QString, sceneElements.size()> m_texts;
    /// One bit a field.
    std::uint16_t m_nested = 0;
};

using IXMLsceneType = TXMLsceneType;

/// The root element "scenes": its children named "scene".
class TXMLscenesType {
public:
    [[nodiscard]] int Get_Count() const { return static_cast<int>(m_scenes.size()); }

    /// The scene at `index`, counted from 0; it must exist.
    [[nodiscard]] IXMLsceneType &Get_scene(int index) { return m_scenes[static_cast<std::size_t>(index)]; }

    /// Adds an empty scene at the end, or at `index`, 0 .. count. What was returned for other scenes before is void.
    IXMLsceneType &Add() { return m_scenes.emplace_back(); }
    IXMLsceneType &Insert(int index) { return *m_scenes.emplace(m_scenes.begin() + index); }

    /// Reads the element that `reader` has just entered, up to its end.
    void read(QXmlStreamReader &reader);

private:
    std::deque<TXMLsceneType> m_scenes;
};

using IXMLscenesType = TXMLscenesType;

/// A scenes document. Holds nothing until it has been loaded.
class TXMLDocument {
public:
    /// Loads the file; any encoding that its XML declaration names and the system knows. Throws UserError, with the
    /// file, the place in it and the parser's reason, if it cannot be read, is not well-formed, has a root other than
    /// "scenes" or declares entities, which no scenes file needs and a bomb is made of; the document holds nothing
    /// then.
    void LoadFromFile(const QString &fileName);

    /// Loads the content of a file; `fileName` is for messages only.
    void LoadFromXML(const QByteArray &xml, const QString &fileName);

    [[nodiscard]] bool Active() const { return m_root != nullptr; }

private:
    friend std::shared_ptr<IXMLscenesType> Getscenes(const TXMLDocument &document);

    std::shared_ptr<IXMLscenesType> m_root;
};

/// The document's root, shared with the document; null if it holds nothing.
[[nodiscard]] std::shared_ptr<IXMLscenesType> Getscenes(const TXMLDocument &document);

/// The root of the file's document. Throws as `LoadFromFile` does.
[[nodiscard]] std::shared_ptr<IXMLscenesType> Loadscenes(const QString &fileName);

/// The empty root of a new document.
[[nodiscard]] std::shared_ptr<IXMLscenesType> Newscenes();
