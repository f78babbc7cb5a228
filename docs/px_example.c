/*
 * Kestrix kernels, a first program: halve a frame by area averaging, split it into 4:2:0 planes,
 * and see what an odd size and a bad argument answer. Builds as C against kestrix-px:
 *
 *   cc px_example.c $(pkg-config --cflags --libs kestrix-px)
 *
 * Exit status 0 when every result is the one written beside it.
 */
#include <stdio.h>
#include <string.h>

#include <kestrix/px.h>

enum { W = 64, H = 48, HW = W / 2, HH = H / 2 };

static int failures = 0;

static void expectNear(const char *what, long got, long want, long within) {
    if (got < want - within || got > want + within) {
        printf("%s: %ld, expected %ld (within %ld)\n", what, got, want, within);
        ++failures;
    }
}

static void expect(const char *what, long got, long want) { expectNear(what, got, want, 0); }

int main(void) {
    static uint8_t frame[H][W * 3];   /* packed 3-byte pixels, top row first */
    static uint8_t half[HH][HW * 3];
    static uint8_t y[HH][HW], u[HH / 2][HW / 2], v[HH / 2][HW / 2];
    uint8_t *const planes[3] = {&y[0][0], &u[0][0], &v[0][0]};
    const int32_t planeSteps[3] = {HW, HW / 2, HW / 2};
    const PxSize frameSize = {W, H}, halfSize = {HW, HH};
    const PxRect whole = {0, 0, W, H};
    int row;

    /* The shared libraries make this call when they load; a program linked with the static
     * archive starts at level 0, the reference forms, until it makes it. */
    pxChooseLevel();

    /* Grey 100 with a white square on 16..31 x 16..31. */
    memset(frame, 100, sizeof frame);
    for (row = 16; row < 32; ++row) memset(&frame[row][16 * 3], 255, 16 * 3);

    /* Half size by area averaging: each output pixel is the mean of a 2 x 2 block, so the square
     * lands on 8..15 x 8..15 and keeps its value. */
    expect("pxResizeC3", pxResizeC3(&frame[0][0], frameSize, W * 3, whole, &half[0][0], HW * 3, halfSize, 0.5, 0.5,
                                    PxSuper),
           PxStsOk);
    expect("half (0, 0)", half[0][0], 100);
    expect("half (8, 8)", half[8][8 * 3], 255);
    expect("half (15, 15)", half[15][15 * 3 + 2], 255);
    expect("half (16, 16)", half[16][16 * 3], 100);

    /* Y, U and V planes: grey keeps its value in Y, and U and V stand at their middle of 128; the
     * vector forms' fixed point may land one below it. */
    expect("pxRgbToYuv420", pxRgbToYuv420(&half[0][0], HW * 3, planes, planeSteps, halfSize), PxStsOk);
    expect("Y of grey", y[0][0], 100);
    expect("Y of white", y[10][10], 255);
    expectNear("U of grey", u[0][0], 128, 1);
    expectNear("V of grey", v[0][0], 128, 1);

    /* An odd width converts the even part and says so: column 4 of Y is not written. */
    memset(y, 7, sizeof y);
    expect("odd width", pxRgbToYuv420(&half[0][0], HW * 3, planes, planeSteps, (PxSize){5, 4}), PxStsOddSize);
    expect("Y column 3", y[0][3], 100);
    expect("Y column 4", y[0][4], 7);

    /* Errors come first and write nothing. */
    memset(half, 7, sizeof half);
    expect("null source", pxResizeC3(NULL, frameSize, W * 3, whole, &half[0][0], HW * 3, halfSize, 0.5, 0.5, PxLinear),
           PxStsNullPtr);
    expect("zero factor", pxResizeC3(&frame[0][0], frameSize, W * 3, whole, &half[0][0], HW * 3, halfSize, 0.0, 0.5,
                                     PxLinear),
           PxStsBadFactor);
    expect("untouched", half[0][0], 7);

    printf("px example at level %d: %s\n", pxGetLevel(), failures ? "FAILED" : "ok");
    return failures ? 1 : 0;
}
