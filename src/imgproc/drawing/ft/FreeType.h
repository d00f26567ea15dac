// Text for the nodes that draw it: one font face at one size, and single lines drawn with it.
//
// Each node file has a font library of its own, which is open while the plug-in is loaded:
//
//   static FreeTypeLibrary const ftLib;
//
// Its faces belong to that. All libraries together draw one line at a time.
#pragma once

#include <string>

#include "containers/Mat.h"

struct FT_LibraryRec_;
struct FT_FaceRec_;

struct FreeTypeLibrary {
    FT_LibraryRec_ *instance = nullptr; ///< null if the library could not be opened; openFace() tells so

    FreeTypeLibrary();
    ~FreeTypeLibrary();
    FreeTypeLibrary(FreeTypeLibrary const &) = delete;
    FreeTypeLibrary &operator=(FreeTypeLibrary const &) = delete;
};

/// A node's font. It is closed by hand; one that is left open stays until its library goes.
struct FreeTypeFace {
    FT_FaceRec_ *face = nullptr;
    int baseline = 0; ///< pixels from the top of a line down to its baseline

    /// Opens a scalable font at a size in pixels; throws zun::Exception if the file holds none.
    void openFace(FreeTypeLibrary const &library, std::string path, int size);

    /// Does nothing to a face that is not open.
    void closeFace();

    /// Draws a line whose top left corner is the pen, into the pixels that `frame` shares, until the text ends or the
    /// pen has left the frame to the right or below. Characters that the font lacks are left out, and so is every byte
    /// from 0x80 up. The face has to be open.
    void drawString(zun::Mat<zun::Vec3b, 2> frame, int penRow, int penColumn, zun::Vec3b colour, std::string text);
};
