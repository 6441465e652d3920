#ifndef QZLIB_GRAPHICS_COMPOSITOR_H
#define QZLIB_GRAPHICS_COMPOSITOR_H

#include "graphics/gr_layer.h"

class QZKeyValueCollection;

/// A compositor: a background, whose pixels the host shows, and a stack of named layers of the same size, the
/// first at the bottom.
///
/// Update repaints the rectangles of the background in which something has changed: first with the back
/// colour, then with each visible layer that has drawn there, blended by its alpha in stack order. The result
/// equals a full repaint.
///
/// The collection owns its background and its layers; layers are locked while they are in it. One thread at a
/// time, the same one that draws on the layers. See docs/graphics.md for showing a frame.
class QZ_API QZGraphicsCollection : public QZObject
{
public:
    static const QZInt64 Type = 0x81FFFF6;

    /// Starts without layers. The background is transparent until FillBickColor or Update paints it.
    QZGraphicsCollection(int width, int height);
    QZGraphicsCollection(const QZGraphicsCollection&) = delete;
    QZGraphicsCollection& operator=(const QZGraphicsCollection&) = delete;
    ~QZGraphicsCollection() override;

    QZInt64 GetType() override;

    /// The picture. The collection owns it.
    QZGraphics* GetBackground() const { return m_background; }
    /// The key. The collection owns it.
    QZString* GetKey() const { return m_key; }
    /// Sets a copy of the key. Returns true.
    QZBool SetKey(QZString* key);
    int GetWidth() const { return m_width; }
    int GetHeight() const { return m_height; }

    /// The colour below all layers, 0xFF000000 by default. A new colour appears where the next Update
    /// repaints.
    unsigned int GetBackColor() const { return m_backColor; }
    void SetBackColor(unsigned int color) { m_backColor = color; }
    /// Fills the background with the back colour.
    void FillBickColor();

    /// Repaints the changed rectangles and counts a frame.
    void Update();
    /// With 0 it paints only the overlay and counts a frame.
    void Update(unsigned char full);

    /// Marks the whole background, or the given rectangles, for the next Update.
    void Refersh();
    void Refersh(const QZRectangle* area);
    void Refersh(QZRectangleCollection* areas);

    /// Changes the size of the background and of all layers with QZGraphics::NewSize; does nothing for the
    /// present size. The pixels are not kept in their places, so the layers have to be drawn again.
    void NewSize(int width, int height);

    /// Adds a new layer on top and returns it. The form with narrow text also fills it with 0, which marks
    /// all of it as changed.
    /// @throws QZException as QZKeyValueCollection::Add: empty or used key, locked layer
    QZGraphics* Add(QZString* key);
    QZGraphics* Add(const char* key);
    /// Adds a layer on top under its own key, in the collection's size. The collection then owns it.
    QZGraphics* Add(QZGraphics* layer);

    /// The layer, which the collection owns, or null.
    QZGraphics* GetElement(const char* key);
    QZGraphics* GetElement(const QZWChar* key);
    QZGraphics* GetElement(QZString* key);
    /// Adds a layer on top and removes a layer with the same key, which the caller then owns.
    /// @throws QZException 256 for a layer with an empty key
    void SetElement(QZGraphics* layer);
    /// The index of the layer in the stack, -1 when it is not there.
    QZInt64 GetElementIndex(QZGraphics* layer);
    QZInt64 GetElementIndex(QZString* key);
    QZInt64 GetElementIndex(const char* key);
    QZInt64 GetElementIndex(const QZWChar* key);
    /// Removes a layer; the caller then owns it. False when it is not there.
    QZBool RemoveElement(QZGraphics* layer);
    QZBool RemoveElement(const char* key);
    QZBool RemoveElement(const QZWChar* key);
    QZBool RemoveElement(QZString* key);

    /// Moves a layer by `distance` places, toward the top when positive. Does nothing when it is not there.
    void MoveElement(QZGraphics* layer, QZInt64 distance);
    void MoveElement(const char* key, QZInt64 distance);
    void MoveElement(const QZWChar* key, QZInt64 distance);
    void MoveElement(QZString* key, QZInt64 distance);
    /// Moves a layer to the end of the stack, in front of all others. The name describes a list whose first
    /// entry is at the top.
    void MoveElementToTheBottom(QZGraphics* layer);
    void MoveElementToTheBottom(const char* key);
    void MoveElementToTheBottom(const QZWChar* key);
    void MoveElementToTheBottom(QZString* key);
    /// Moves a layer to the start of the stack, behind all others.
    void MoveElementToTheTop(QZGraphics* layer);
    void MoveElementToTheTop(const char* key);
    void MoveElementToTheTop(const QZWChar* key);
    void MoveElementToTheTop(QZString* key);
    QZInt64 Count();

    /// Makes the named layer the edited layer; no layer when it does not exist. True when it exists. The
    /// background is the edited layer by default.
    QZBool LayerEdit(QZString* key);
    /// Makes a mark of the edited layer the edited mark. False when the layer or the mark does not exist.
    QZBool MarkEdit(QZString* key);

    /// Deletes the layer and clears the variable. A null in the variable is a QZLibAssert(false).
    static void Recycle(QZGraphics** layer);

    /// The frames of the last full second; 0 when there was at most one.
    QZUInt64 GetFPS() const { return m_framesPerSecond; }
    /// Not 0: Update draws the frames per second at (10, 10).
    void ShowFPS(unsigned char show) { m_showFps = show; }

    /// Not 0: Update outlines every rectangle that it repaints, in red, green and blue in turn.
    void ShowAreas(unsigned char show) { m_showAreas = show; }
    /// Not 0: with one of the overlays above, Update outlines the edited layer (white) and mark (green).
    void ShowEdited(unsigned char show) { m_showEdited = show; }
    /// Not 0: layers replace the pixels below them instead of being blended.
    void SetOverwrite(unsigned char overwrite) { m_overwrite = overwrite; }

private:
    template <typename Key>
    void Move(Key key, QZInt64 distance);
    template <typename Key>
    void MoveToTheBottom(Key key);
    template <typename Key>
    void MoveToTheTop(Key key);
    void TakeChanges(QZRectangleCollection* changes);
    void Repaint(QZRectangleCollection* changes);
    void PaintLayers(const QZRectangle* area);
    void CountFrames();
    void AddNumber();
    void AddEdited();
    void DrawOverlay();
    bool HasOverlay() const { return m_showAreas != 0 || m_showFps != 0; }
    QZGraphics* Layer(QZInt64 index);
    QZGraphics* EditedLayer();

    QZByte m_showFps = 0;
    QZShape* m_editedMark = nullptr;
    QZByte m_showAreas = 0;
    QZByte m_overwrite = 0;
    QZShape* m_pending;
    QZShape* m_areas;
    QZByte m_showEdited = 0;
    QZGraphics* m_editedLayer;
    QZKeyValueCollection* m_layers;
    QZString* m_key;
    QZUInt32 m_backColor = 0xFF000000;
    QZGraphics* m_background;
    int m_width;
    int m_height;
    QZUInt64 m_frames = 0;
    QZUInt64 m_second;
    QZUInt64 m_framesPerSecond = 0;
};

#endif
