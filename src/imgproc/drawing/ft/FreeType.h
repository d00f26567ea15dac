// Text for the nodes that draw it: one font face at one size, and single lines drawn with it.
//
// Each node file has a font library of its own, which is opened when the plug-in is loaded:
//
//   static FreeTypeLibrary const ftLib;
//
// Its faces belong to that and keep it open, so a node may outlive the objects of static storage. All libraries
// together draw one line at a time.
#pragma once

#include <memory>
#include <string>

#include "containers/Mat.h"

struct FT_LibraryRec_;
struct FT_FaceRec_;

struct FreeTypeLibrary {
    std::shared_ptr<FT_LibraryRec_> instance; ///< null if the library could not be opened, which openFace() reports

    FreeTypeLibrary();
};

/// A node's font. It is closed by hand, or when it goes.
class FreeTypeFace {
public:
    FreeTypeFace() = default;
    ~FreeTypeFace() { closeFace(); }
    FreeTypeFace(FreeTypeFace const &) = delete;
    FreeTypeFace &operator=(FreeTypeFace const &) = delete;

    /// Opens a scalable font at a size in pixels, in place of one that is open; throws zun::Exception if the file holds
    /// none.
    void openFace(FreeTypeLibrary const &from, std::string path, int size);

    /// Does nothing to a face that is not open.
    void closeFace();

    /// Draws a line whose top left corner is the pen, into the pixels that `frame` shares, until the text ends or the
    /// pen has left the frame to the right or below. Characters that the font lacks are left out, and so is every byte
    /// from 0x80 up. The face has to be open.
    void drawString(zun::Mat<zun::Vec3b, 2> frame, int penRow, int penColumn, zun::Vec3b colour, std::string text);

private:
    std::shared_ptr<FT_LibraryRec_> library;
    FT_FaceRec_ *face = nullptr;
    int baseline = 0; ///< pixels from the top of a line down to its baseline
};
