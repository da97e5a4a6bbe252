#pragma once

// bench_gesture's measurements, one per letter of --sections (the pictures with
// --picture), run by main() one after the other on the same desktop, in the order the
// figures are printed.
class GestureRun;

// --picture
void savePictures(GestureRun& run);
// o
void measureOverlay(GestureRun& run);
// n
void measureOverlayAfterPause(GestureRun& run);
// p
void measurePlainDrag(GestureRun& run);
// h
void measureHighlight(GestureRun& run);
// b
void measureServerFloor(GestureRun& run);
// x
void measureBareClient(GestureRun& run);
// s
void measureSnap(GestureRun& run);
// f
void measureFloor(GestureRun& run);
