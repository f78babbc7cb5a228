#include <algorithm>
#include <cstdint>

#include "kernels/resize/resize_image.h"

namespace px {
namespace {

// The ring of six tap rows of one call, R0 two rows above the entry, and the steps of its walk.
// Rows the taps would take beyond the image's first or last row are copies of that row. yIndex
// entries are row numbers times the step: they fall with a negative step (bottom-up images), and
// every comparison turns with it.
class LanczosRing {
public:
    LanczosRing(const LanczosPasses &passes, const ResizeJob &job)
        : passes_(passes), job_(job), s_(job.srcStep), rising_(job.srcStep > 0), samples_(job.dstW * job.channels) {
        std::copy(job.rows, job.rows + 6, r_);
    }

    // The rows of the first output row, with copies of the image's first and last rows for the taps
    // beyond them.
    void setUp() {
        const int64_t y0 = job_.yIndex[0];
        fill(r_[3], y0);
        if (job_.rowsLeft == 1) {
            copy(r_[3], r_[4]);
            copy(r_[3], r_[5]);
        } else if (job_.rowsLeft == 2) {
            fill(r_[4], y0 + s_);
            copy(r_[4], r_[5]);
        } else {
            fill(r_[4], y0 + s_);
            fill(r_[5], y0 + 2 * s_);
        }
        if (job_.rectY == 0) {
            copy(r_[3], r_[1]);
            copy(r_[3], r_[2]);
        } else if (job_.rectY == 1) {
            fill(r_[2], y0 - s_);
            copy(r_[2], r_[1]);
        } else {
            fill(r_[1], y0 - 2 * s_);
            fill(r_[2], y0 - s_);
        }
        last_ = rising_ ? y0 - 1 : y0 + 1;  // the first output row counts as an advance
    }

    // Brings the ring to the entry y of the next output row.
    void advanceTo(int64_t y) {
        if (!(rising_ ? y > last_ : y < last_)) return;
        rotate(6);
        if (job_.rowsNotThinned == 1) {
            stepOne(y);
        } else {
            jump(y);
        }
        last_ = y;
    }

    // The output row at dst with the row's six weights.
    void combine(uint8_t *dst, const float *w) const {
        if (job_.pixelStride == job_.channels) {
            passes_.combine(dst, samples_, w, r_);
        } else {
            lanczosCombineSkip(dst, job_.dstW, w, r_);
        }
    }

private:
    void fill(float *out, int64_t offset) const {
        if (passes_.plan) {
            passes_.planned(job_.src + offset, passes_.plan, out);
            return;
        }
        passes_.row(job_.src + offset, job_.pixelStride, job_.xIndex, job_.xCoefficients, out, job_.dstW, job_.rectX,
                    job_.colsLeft);
    }
    void copy(const float *from, float *to) const { pxCopy(from, to, samples_); }
    // Moves the first n buffers of the ring on by one: the first becomes the n-th.
    void rotate(int n) { std::rotate(r_, r_ + 1, r_ + n); }
    bool atLeast(int64_t a, int64_t b) const { return rising_ ? a >= b : a <= b; }
    // The image's n-th row from its end.
    int64_t fromEnd(int64_t n) const { return (job_.rowsLeft - n) * s_; }

    // Enlarging: one row on at most, the lowest held to the image's last row.
    void stepOne(int64_t y) {
        if (atLeast(y, fromEnd(3))) {
            copy(r_[4], r_[5]);
        } else {
            fill(r_[5], y + 3 * s_);
        }
    }

    // The rows may jump; each further row that came new is filled, the lowest ones held to the
    // image's last row.
    void jump(int64_t y) {
        fill(r_[5], y + (y == fromEnd(3) ? 2 * s_ : y == fromEnd(2) ? s_ : y == fromEnd(1) ? 0 : 3 * s_));
        if (atLeast(y, last_ + 2 * s_)) {
            rotate(5);
            fill(r_[4], y + (y == fromEnd(2) ? s_ : y == fromEnd(1) ? 0 : 2 * s_));
        }
        if (atLeast(y, last_ + 3 * s_)) {
            rotate(4);
            fill(r_[3], y + (y == fromEnd(1) ? 0 : s_));
        }
        if (atLeast(y, last_ + 4 * s_)) {
            rotate(3);
            fill(r_[2], y);
        }
        // A jump of five rows or more cannot start above the first row: these need no limit.
        if (atLeast(y, last_ + 5 * s_)) {
            rotate(2);
            fill(r_[1], y - s_);
        }
        if (atLeast(y, last_ + 6 * s_)) fill(r_[0], y - 2 * s_);
    }

    const LanczosPasses &passes_;
    const ResizeJob &job_;
    const int64_t s_;
    const bool rising_;
    const int32_t samples_;
    float *r_[6];
    int64_t last_ = 0;
};

}  // namespace

void lanczosWalk(const LanczosPasses &passes, const ResizeJob &job) {
    LanczosRing ring(passes, job);
    ring.setUp();
    uint8_t *dst = job.dst;
    for (int32_t i = 0; i < job.dstH; ++i) {
        ring.advanceTo(job.yIndex[i]);
        ring.combine(dst, job.yCoefficients + 6 * i);
        dst += job.dstStep;
    }
}

// Three channels: the engine refuses other channel counts.
void pxLanczosImage(const ResizeJob &job) { lanczosWalk({pxLanczosRow, pxLanczosCombine}, job); }

}  // namespace px
