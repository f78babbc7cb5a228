/* A C client of the installed exports: a motion detector over 32 frames, a luminance measure and
 * two of the exports kept for old clients. Exit status 0 when every answer is the expected one. */
#include <stdio.h>
#include <string.h>

#include <kestrix.h>

enum { W = 64, H = 48, STEP = (W * 24 + 31) / 32 * 4 };

static int failures = 0;

static void expect(const char *what, long got, long want) {
    if (got != want) {
        printf("%s: %ld, expected %ld\n", what, got, want);
        ++failures;
    }
}

int main(void) {
    static uint8_t pixels[STEP * H];
    BITMAPINFOHEADER header;
    uint8_t mask = 0xFF;
    int frame;
    void *detector = MotionOpen();

    memset(&header, 0, sizeof header);
    header.biSize = sizeof header;
    header.biWidth = W;
    header.biHeight = H;
    header.biPlanes = 1;
    header.biBitCount = 24;
    memset(pixels, 100, sizeof pixels);

    if (!detector) {
        printf("MotionOpen gave no detector\n");
        return 1;
    }
    /* No zones: the whole frame, 2 pixels in from each edge. Sensitivity 9 fires on one sample
     * whose first byte moves by more than 40. */
    expect("MotionInit", MotionInit(detector, 9, NULL, 0), 1);
    /* Frames 1 to 30 are swallowed, frame 31 becomes the reference: all give mask 0. */
    for (frame = 1; frame <= 31; ++frame) {
        MotionCompare(detector, &header, pixels, &mask);
        expect("mask while warming up", mask, 0);
    }
    /* Frame 32: the sample at (2, 2) from the top, memory row H - 1 - 2, moves by 41. */
    pixels[(H - 1 - 2) * STEP + 2 * 3] = 141;
    expect("MotionCompare", MotionCompare(detector, &header, pixels, &mask), 1);
    expect("mask of frame 32", mask, 1);
    expect("MotionClose", MotionClose(detector), 1);

    /* The weights add up to 0.991, so a grey of 100 measures 99. */
    expect("BmpGetYDc", BmpGetYDc(pixels + STEP * 10, 3 * W), 99);
    expect("IsGreenMode", IsGreenMode(), 0);
    expect("JpegDecompress", JpegDecompress(), 1);

    printf("%s\n", failures ? "exports consumer: FAILED" : "exports consumer: ok");
    return failures ? 1 : 0;
}
