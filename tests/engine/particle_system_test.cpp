// The particle emitter: emission against rate and capacity, life and death, where particles are
// born, determinism, and a real draw on unit 5 into a render texture.
#include "engine/CCParticleSystemQuad.h"

#include <gtest/gtest.h>

#include <cmath>
#include <vector>

#include "engine/CCParticleFlower.h"
#include "engine/CCRenderTexture.h"
#include "engine/CCTexture2D.h"
#include "tests/engine/gl_test_support.h"

namespace orvane::engine {
namespace {

constexpr float kFrame = 1.0f / 30.0f;

// Particles that stay where they are born and live `life` seconds.
ParticleConfig still(int total, float rate, float life) {
    ParticleConfig c;
    c.totalParticles = total;
    c.emissionRate = rate;
    c.life = life;
    c.startSize = 8;
    c.startColor = {1, 1, 1, 1};
    c.endColor = {1, 1, 1, 1};
    return c;
}

void run(CCParticleSystemQuad& emitter, int frames) {
    for (int i = 0; i < frames; ++i) {
        emitter.update(kFrame);
    }
}

TEST(ParticleSystemTest, EmitsAtItsRateUntilFull) {
    // 47 a second is 1.567 a frame: no count lands on a whole number, so no rounding decides.
    CCParticleSystemQuad emitter(still(20, 47, 100));
    struct Row {
        int frames;  // in all
        int count;
    };
    int done = 0;
    for (const Row& row :
         {Row{1, 1}, Row{2, 3}, Row{5, 7}, Row{10, 15}, Row{13, 20}, Row{40, 20}}) {
        run(emitter, row.frames - done);
        done = row.frames;
        EXPECT_EQ(emitter.particleCount(), row.count) << "after " << row.frames << " frames";
    }
    EXPECT_EQ(emitter.totalParticles(), 20);
}

TEST(ParticleSystemTest, ParticlesDieAfterTheirLifeAndFreedRoomIsRefilledAtTheRate) {
    CCParticleSystemQuad emitter(still(10, 1000, 1.0f));
    run(emitter, 1);
    ASSERT_EQ(emitter.particleCount(), 10);  // owed 33, room for 10
    emitter.setEmissionRate(0);
    run(emitter, 28);
    EXPECT_EQ(emitter.particleCount(), 10);  // 29 frames old: just short of a second
    run(emitter, 2);
    EXPECT_EQ(emitter.particleCount(), 0);
    // What was owed beyond the capacity was dropped, not saved up.
    emitter.setEmissionRate(45);
    run(emitter, 1);
    EXPECT_EQ(emitter.particleCount(), 1);
}

TEST(ParticleSystemTest, PositionVarianceBoundsWhereParticlesAreBorn) {
    ParticleConfig config = still(2000, 60000, 100);
    config.sourcePosition = {100, -200};
    config.posVar = {300, 50};
    CCParticleSystemQuad emitter(config);
    run(emitter, 1);
    ASSERT_EQ(emitter.particleCount(), 2000);
    float minX = 1e9f, maxX = -1e9f, minY = 1e9f, maxY = -1e9f;
    for (const Particle& p : emitter.particles()) {
        minX = std::min(minX, p.pos.x);
        maxX = std::max(maxX, p.pos.x);
        minY = std::min(minY, p.pos.y);
        maxY = std::max(maxY, p.pos.y);
    }
    EXPECT_GE(minX, -200);
    EXPECT_LE(maxX, 400);
    EXPECT_GE(minY, -250);
    EXPECT_LE(maxY, -150);
    // And they fill that box rather than gather at the source.
    EXPECT_LT(minX, -180);
    EXPECT_GT(maxX, 380);
    EXPECT_LT(minY, -245);
    EXPECT_GT(maxY, -155);

    // No variance: a touch gathers new particles at the finger.
    CCParticleSystemQuad gathered(still(5, 300, 100));
    gathered.setSourcePosition({-640, 320});
    gathered.setPosVar({0, 0});
    run(gathered, 1);
    ASSERT_EQ(gathered.particleCount(), 5);
    for (const Particle& p : gathered.particles()) {
        EXPECT_EQ(p.pos, (Point{-640, 320}));
    }
}

TEST(ParticleSystemTest, ParticlesMoveByTheirLaunchAndGravityAndChangeOverTheirLife) {
    struct Row {
        float angle, speed;
        Point gravity;
        Point after;  // one second later, from a source at (100, 100)
    };
    // Gravity integrates velocity first, then position: 60 * (1 + 2 + ... + 30) / 900 = 31.
    for (const Row& row : {Row{0, 300, {0, 0}, {400, 100}}, Row{90, 300, {0, 0}, {100, 400}},
                           Row{180, 150, {0, 0}, {-50, 100}}, Row{0, 0, {0, 60}, {100, 131}}}) {
        SCOPED_TRACE(row.angle);
        ParticleConfig config = still(1, 30.5f, 2.0f);
        config.angle = row.angle;
        config.speed = row.speed;
        config.gravity = row.gravity;
        config.sourcePosition = {100, 100};
        config.startSize = 10;
        config.endSize = 30;
        config.endColor = {1, 0, 1, 0};
        CCParticleSystemQuad emitter(config);
        run(emitter, 30);
        ASSERT_EQ(emitter.particleCount(), 1);
        const Particle& p = emitter.particles()[0];
        EXPECT_NEAR(p.pos.x, row.after.x, 0.5);
        EXPECT_NEAR(p.pos.y, row.after.y, 0.5);
        // Halfway through a life of two seconds.
        EXPECT_NEAR(p.size, 20, 0.01);
        EXPECT_NEAR(p.color.g, 0.5, 0.001);
        EXPECT_NEAR(p.color.a, 0.5, 0.001);
        EXPECT_NEAR(p.color.r, 1, 0.001);
    }
}

TEST(ParticleSystemTest, AStepOfZeroOrLessChangesNothing) {
    auto emitter = CCParticleFlower::node();
    run(*emitter, 20);
    ASSERT_GT(emitter->particleCount(), 0);
    const std::vector<Particle> before(emitter->particles().begin(), emitter->particles().end());
    emitter->update(0);
    emitter->update(-kFrame);
    const std::vector<Particle> after(emitter->particles().begin(), emitter->particles().end());
    EXPECT_EQ(before, after);
    // Nothing owed was banked either: the next frame emits as an undisturbed emitter does.
    auto twin = CCParticleFlower::node();
    run(*twin, 21);
    run(*emitter, 1);
    EXPECT_EQ(emitter->particleCount(), twin->particleCount());
}

TEST(ParticleSystemTest, TheSeedDecidesTheParticles) {
    auto a = CCParticleFlower::node();
    auto b = CCParticleFlower::node();
    auto c = CCParticleFlower::node();
    c->seed(7);
    run(*a, 10);
    run(*b, 10);
    run(*c, 10);
    const std::vector<Particle> pa(a->particles().begin(), a->particles().end());
    const std::vector<Particle> pb(b->particles().begin(), b->particles().end());
    const std::vector<Particle> pc(c->particles().begin(), c->particles().end());
    EXPECT_EQ(pa, pb);
    EXPECT_NE(pa, pc);
}

TEST(ParticleSystemTest, FlowerStartsSpreadOverTheTargetAndSpiralsOutFromATouch) {
    auto flower = CCParticleFlower::node();
    EXPECT_EQ(flower->posVar(), (Point{1280, 1280}));
    EXPECT_EQ(flower->sourcePosition(), (Point{0, 0}));
    EXPECT_EQ(flower->particleCount(), 0);
    EXPECT_TRUE(flower->config().additive);

    flower->setSourcePosition({200, 100});
    flower->setPosVar({0, 0});
    flower->update(kFrame);
    const int first = flower->particleCount();
    ASSERT_GT(first, 0);
    run(*flower, 29);
    // The first-born have moved away from the touch and turned round it.
    double distance = 0;
    double turning = 0;
    for (const Particle& p : flower->particles()) {
        const float dx = p.pos.x - 200;
        const float dy = p.pos.y - 100;
        distance += std::hypot(dx, dy);
        turning += dx * p.velocity.y - dy * p.velocity.x;  // positive: towards +y from +x
    }
    EXPECT_GT(distance / flower->particleCount(), 50);
    EXPECT_GT(turning, 0);
}

class ParticleDrawTest : public orvane::testing::GLTest {
  protected:
    static std::shared_ptr<CCTexture2D> solid(std::uint8_t r, std::uint8_t g, std::uint8_t b,
                                              std::uint8_t a) {
        const std::vector<std::uint8_t> pixels{r, g, b, a, r, g, b, a, r, g, b, a, r, g, b, a};
        return CCTexture2D::fromPixels(2, 2, pixels.data());
    }

    static void bind(GLenum unit, const CCTexture2D& texture) {
        glActiveTexture(unit);
        glBindTexture(GL_TEXTURE_2D, texture.name());
        glActiveTexture(GL_TEXTURE0);
    }

    // The bounding box of pixels with any alpha, {x0, y0, x1, y1}, or empty.
    static std::vector<int> ink(const CCRenderTexture& target) {
        const auto pixels = target.readPixels();
        int x0 = target.width(), y0 = target.height(), x1 = -1, y1 = -1;
        for (int y = 0; y < target.height(); ++y) {
            for (int x = 0; x < target.width(); ++x) {
                if (orvane::testing::pixelAt(pixels, target.width(), x, y).a > 0) {
                    x0 = std::min(x0, x);
                    y0 = std::min(y0, y);
                    x1 = std::max(x1, x);
                    y1 = std::max(y1, y);
                }
            }
        }
        return x1 < 0 ? std::vector<int>{} : std::vector<int>{x0, y0, x1, y1};
    }

    void drawInto(CCRenderTexture& target, CCParticleSystemQuad& emitter) {
        target.clear(0, 0, 0, 0);
        target.begin();
        glEnable(GL_BLEND);
        emitter.draw();
        glDisable(GL_BLEND);
        target.end();
    }
};

TEST_F(ParticleDrawTest, DrawsWhatUnitFiveHoldsWherePositionsPlaceIt) {
    CCRenderTexture target(64, 32);
    CCParticleSystemQuad::setCameraSize(64, 32);
    // One 8-pixel particle at offset (-640, -640): a quarter of the way in from the first row
    // and column, pixel (16, 8).
    ParticleConfig config = still(1, 30.5f, 100);
    config.sourcePosition = {-640, -640};
    CCParticleSystemQuad emitter(config);
    emitter.update(kFrame);
    ASSERT_EQ(emitter.particleCount(), 1);

    const auto white = solid(255, 255, 255, 255);
    const auto clear = solid(0, 0, 0, 0);
    bind(GL_TEXTURE0, *clear);
    bind(GL_TEXTURE5, *white);
    drawInto(target, emitter);
    const auto box = ink(target);
    ASSERT_EQ(box.size(), 4u) << "no ink";
    EXPECT_EQ(box, (std::vector<int>{12, 4, 19, 11}));
    const auto pixels = target.readPixels();
    EXPECT_TRUE(orvane::testing::pixelNear(orvane::testing::pixelAt(pixels, 64, 16, 8),
                                           {255, 255, 255, 255}));

    // The emitter's own texture and unit 0 play no part.
    emitter.setTexture(white);
    bind(GL_TEXTURE0, *white);
    bind(GL_TEXTURE5, *clear);
    drawInto(target, emitter);
    EXPECT_TRUE(ink(target).empty());

    GLint source = 0;
    GLint destination = 0;
    glGetIntegerv(GL_BLEND_SRC_RGB, &source);
    glGetIntegerv(GL_BLEND_DST_RGB, &destination);
    EXPECT_EQ(source, GL_ONE);
    EXPECT_EQ(destination, GL_ONE_MINUS_SRC_ALPHA);
}

TEST_F(ParticleDrawTest, FlowerCoversTheTargetAndLeavesTheStandardBlending) {
    CCRenderTexture target(128, 128);
    CCParticleSystemQuad::setCameraSize(128, 128);
    auto flower = CCParticleFlower::node();
    run(*flower, 30);
    const auto white = solid(255, 255, 255, 255);
    bind(GL_TEXTURE5, *white);
    drawInto(target, *flower);
    const auto box = ink(target);
    ASSERT_EQ(box.size(), 4u) << "no ink";
    // Spread over the whole target, not gathered at its centre.
    EXPECT_LT(box[0], 16);
    EXPECT_LT(box[1], 16);
    EXPECT_GT(box[2], 111);
    EXPECT_GT(box[3], 111);
    GLint destination = 0;
    glGetIntegerv(GL_BLEND_DST_RGB, &destination);
    EXPECT_EQ(destination, GL_ONE_MINUS_SRC_ALPHA);
}

}  // namespace
}  // namespace orvane::engine
