#include <algorithm>
#include <cmath>
#include <cstdint>

#include "kernels/resize/resize_image.h"
#include "kernels/resize/resize_rules.h"

namespace px {

// L(i / 100) for i = 0 to 300, with L(0) = 1 and L(x) = sinc(x) * sinc(x / 3), worked in double and
// rounded to float; the whole numbers 1, 2 and 3 are exactly 0, and entry 301 is a 0 for the vector
// forms, which limit the distance to 3.0 instead of testing it and so may read one entry past 300.
const float pxLanczosKernel[302] = {
    1.0f, 0.999817252f, 0.999269068f, 0.998355985f, 0.997078538f, 0.995437741f, 0.993434787f,
    0.991071165f, 0.988348544f, 0.98526907f, 0.981834829f, 0.978048503f, 0.973912716f, 0.969430625f,
    0.96460551f, 0.959440827f, 0.953940392f, 0.948108256f, 0.941948593f, 0.935465991f, 0.928665102f,
    0.92155087f, 0.914128423f, 0.906403244f, 0.898380876f, 0.890067041f, 0.881467819f, 0.87258935f,
    0.86343801f, 0.854020417f, 0.844343185f, 0.83441329f, 0.824237823f, 0.813823938f, 0.803179026f,
    0.792310596f, 0.781226337f, 0.769933939f, 0.758441448f, 0.746756732f, 0.734888017f, 0.722843409f,
    0.710631371f, 0.698260188f, 0.685738444f, 0.673074543f, 0.660277247f, 0.64735508f, 0.634316862f,
    0.621171236f, 0.607927084f, 0.594593167f, 0.581178308f, 0.567691326f, 0.554141045f, 0.540536225f,
    0.526885808f, 0.513198435f, 0.4994829f, 0.485747933f, 0.472002208f, 0.458254278f, 0.444512725f,
    0.430786043f, 0.417082608f, 0.403410763f, 0.389778763f, 0.376194715f, 0.362666696f, 0.349202603f,
    0.335810274f, 0.322497398f, 0.309271544f, 0.296140164f, 0.283110529f, 0.270189822f, 0.257385045f,
    0.24470301f, 0.232150465f, 0.219733894f, 0.207459673f, 0.195333973f, 0.183362812f, 0.171552017f,
    0.159907222f, 0.148433879f, 0.137137234f, 0.126022354f, 0.115094095f, 0.104357131f, 0.0938159078f,
    0.0834746808f, 0.0733374953f, 0.0634081662f, 0.0536903217f, 0.0441873707f, 0.0349024907f, 0.0258386675f,
    0.0169986542f, 0.00838499051f, 0.0f, -0.00815421063f, -0.0160757545f, -0.02376296f, -0.0312143695f,
    -0.0384287499f, -0.0454050675f, -0.0521425195f, -0.0586405061f, -0.0648986325f, -0.0709167272f, -0.0766948089f,
    -0.0822331086f, -0.0875320658f, -0.0925923064f, -0.0974146649f, -0.102000155f, -0.106349997f, -0.110465594f,
    -0.114348523f, -0.118000552f, -0.121423617f, -0.124619834f, -0.127591476f, -0.130341008f, -0.132871017f,
    -0.135184273f, -0.137283683f, -0.139172316f, -0.140853345f, -0.142330125f, -0.143606126f, -0.144684926f,
    -0.145570263f, -0.146265939f, -0.146775916f, -0.147104219f, -0.147255018f, -0.147232533f, -0.147041097f,
    -0.146685138f, -0.146169126f, -0.145497635f, -0.144675285f, -0.143706769f, -0.142596826f, -0.14135024f,
    -0.139971882f, -0.138466582f, -0.136839285f, -0.135094911f, -0.13323842f, -0.13127476f, -0.129208952f,
    -0.127045959f, -0.124790765f, -0.122448362f, -0.120023727f, -0.1175218f, -0.114947528f, -0.112305805f,
    -0.109601527f, -0.106839515f, -0.104024589f, -0.101161495f, -0.0982549489f, -0.0953095928f, -0.0923300311f,
    -0.0893208012f, -0.0862863585f, -0.0832311139f, -0.080159381f, -0.0770754144f, -0.0739833787f, -0.070887357f,
    -0.0677913353f, -0.0646992326f, -0.0616148449f, -0.0585419014f, -0.055484008f, -0.052444689f, -0.0494273491f,
    -0.0464353003f, -0.0434717424f, -0.0405397601f, -0.0376423337f, -0.0347823352f, -0.0319625065f, -0.0291854944f,
    -0.0264538135f, -0.0237698723f, -0.0211359523f, -0.0185542218f, -0.0160267316f, -0.0135554085f, -0.011142063f,
    -0.00878838543f, -0.00649594748f, -0.00426620105f, -0.00210048002f, 0.0f, 0.00203414005f, 0.00400095759f,
    0.00589958578f, 0.00772927189f, 0.00948937517f, 0.0111793689f, 0.0127988337f, 0.0143474611f, 0.0158250462f,
    0.0172314942f, 0.0185668077f, 0.019831093f, 0.0210245568f, 0.0221475009f, 0.0232003182f, 0.0241835006f,
    0.0250976216f, 0.0259433463f, 0.0267214235f, 0.0274326839f, 0.0280780327f, 0.0286584571f, 0.0291750114f,
    0.0296288263f, 0.0300210919f, 0.0303530674f, 0.0306260735f, 0.0308414828f, 0.0310007315f, 0.0311052985f,
    0.0311567169f, 0.0311565604f, 0.0311064497f, 0.0310080405f, 0.0308630243f, 0.0306731239f, 0.0304400958f,
    0.030165717f, 0.0298517905f, 0.029500138f, 0.0291125942f, 0.0286910143f, 0.0282372553f, 0.0277531892f,
    0.0272406861f, 0.0267016198f, 0.0261378642f, 0.0255512837f, 0.024943741f, 0.0243170839f, 0.0236731507f,
    0.0230137631f, 0.0223407242f, 0.0216558147f, 0.0209607985f, 0.0202574097f, 0.0195473526f, 0.0188323073f,
    0.0181139186f, 0.0173937995f, 0.0166735221f, 0.0159546267f, 0.0152386129f, 0.0145269362f, 0.0138210105f,
    0.0131222075f, 0.0124318516f, 0.0117512187f, 0.0110815382f, 0.01042399f, 0.00977970287f, 0.00914975442f,
    0.00853516906f, 0.00793692097f, 0.00735592609f, 0.0067930501f, 0.00624910183f, 0.00572483521f, 0.00522094918f,
    0.0047380873f, 0.00427683583f, 0.00383772631f, 0.0034212349f, 0.00302778138f, 0.00265773083f, 0.00231139269f,
    0.00198902236f, 0.00169082067f, 0.00141693547f, 0.00116746116f, 0.000942440354f, 0.000741864205f, 0.000565673283f,
    0.000413758768f, 0.00028596315f, 0.000182081552f, 0.000101862664f, 4.50100924e-05f, 1.11835134e-05f, 0.0f,
    0.0f
};

void pxResizeCoefficients(const float *fractions, int32_t count, float *coefficients, const float *kernel) {
    for (int32_t n = 0; n < count; ++n) {
        // Signed distances of the six taps (-2 to +3) from the sampling point: the first in single
        // precision, the others its double plus k, rounded to float.
        const float first = -2.0f - fractions[n];
        const double d0 = first;
        float w[6];
        for (int32_t k = 0; k < 6; ++k) {
            const float d = k == 0 ? first : static_cast<float>(d0 + k);
            w[k] = 0.0f;
            if (d > -3.0f && d < 3.0f) {
                // Linear interpolation between the table's entries, in float.
                const auto u = static_cast<float>(static_cast<double>(std::fabs(d)) * 100.0);
                const auto i = static_cast<int32_t>(u);
                w[k] = (kernel[i + 1] - kernel[i]) * (u - static_cast<float>(i)) + kernel[i];
            }
        }
        // Normalised by true division, so that the six sum to 1 up to rounding.
        const float sum = ((((w[0] + w[1]) + w[2]) + w[3]) + w[4]) + w[5];
        for (int32_t k = 0; k < 6; ++k) coefficients[6 * n + k] = w[k] / sum;
    }
}

void pxLanczosRow(const uint8_t *row, int32_t pixelStride, const int32_t *xIndex, const float *xCoefficients,
                  float *buffer, int32_t dstW, int32_t rectX, int32_t colsLeft) {
    // The edge cases are named by the column counted from the rectangle (idx) and are found by the
    // entry's offset, idx times the pixel stride. Only the image's own edges count; taps that would
    // lie at or beyond one weigh on the edge pixel instead, added last.
    // Offsets of the image's first and second columns, none (the least offset) when the rectangle
    // starts further in.
    const int64_t stride = pixelStride;
    const int64_t none = INT64_MIN;
    const int64_t firstColumn = rectX == 0 ? 0 : none;
    const int64_t secondColumn = rectX == 0 ? stride : rectX == 1 ? 0 : none;
    const int64_t lastBut2 = (int64_t{colsLeft} - 3) * stride;
    const int64_t lastBut1 = (int64_t{colsLeft} - 2) * stride;
    const int64_t last = (int64_t{colsLeft} - 1) * stride;
    for (int32_t j = 0; j < dstW; ++j) {
        const float *w = xCoefficients + 6 * j;
        const int64_t at = xIndex[j];
        const uint8_t *q = row + at;
        for (int32_t k = 0; k < 3; ++k) {
            auto p = [&](int32_t n) { return static_cast<float>(q[n * pixelStride + k]); };
            float value;
            if (at == firstColumn) {
                value = ((w[0] + w[1]) + w[2]) * p(0) + ((p(1) * w[3] + p(2) * w[4]) + p(3) * w[5]);
            } else if (at == secondColumn) {
                value = (w[0] + w[1]) * p(-1) + (((p(0) * w[2] + p(1) * w[3]) + p(2) * w[4]) + p(3) * w[5]);
            } else if (at == lastBut2) {
                value = (w[4] + w[5]) * p(2) + (((p(-2) * w[0] + p(-1) * w[1]) + p(0) * w[2]) + p(1) * w[3]);
            } else if (at == lastBut1) {
                value = ((w[3] + w[4]) + w[5]) * p(1) + ((p(-2) * w[0] + p(-1) * w[1]) + p(0) * w[2]);
            } else if (at == last) {
                value = (((w[2] + w[3]) + w[4]) + w[5]) * p(0) + (p(-2) * w[0] + p(-1) * w[1]);
            } else {
                value = ((((p(-2) * w[0] + p(-1) * w[1]) + p(0) * w[2]) + p(1) * w[3]) + p(2) * w[4]) + p(3) * w[5];
            }
            buffer[3 * j + k] = value;
        }
    }
}

namespace {

inline float combineSample(const float *w, const float *const rows[6], int32_t i) {
    return ((((w[0] * rows[0][i] + w[1] * rows[1][i]) + w[2] * rows[2][i]) + w[3] * rows[3][i]) +
            w[4] * rows[4][i]) +
           w[5] * rows[5][i];
}

}  // namespace

void pxLanczosCombine(uint8_t *dst, int32_t count, const float *coefficients, const float *const rows[6]) {
    for (int32_t i = 0; i < count; ++i) dst[i] = storeFloatSample(combineSample(coefficients, rows, i));
}

void lanczosCombineSkip(uint8_t *dst, int32_t dstW, const float *coefficients, const float *const rows[6]) {
    for (int32_t c = 0; c < dstW; ++c)
        for (int32_t k = 0; k < 3; ++k) dst[4 * c + k] = storeFloatSample(combineSample(coefficients, rows, 3 * c + k));
}

}  // namespace px
