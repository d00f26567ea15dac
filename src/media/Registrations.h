// A function for each node of this library, in the node's own file. Static initialisers wouldn't do: the linker leaves
// out the files of a static library that nobody calls.
#pragma once

namespace zun::media {

void registerReadFrames();
void registerWriteFrames();
void registerReadRecords();
void registerWriteRecords();
void registerConstant();
void registerListFrames();
void registerPickFrame();
void registerFormatTexts();
void registerMergeRecords();
void registerSelectElements();

} // namespace zun::media
