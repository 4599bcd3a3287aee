#include "host/formats/mesh_weights.h"

#include "host/formats/read_take.h"
#include "tests/host/input_error.h"

#include <gtest/gtest.h>

#include <string>

TEST(MeshWeights, FilesOfWeightsAloneAreRefusedAsSuch) {
  for (const std::string text :
       {"frame,timestamp_ms,timestamp_sec,_neutral,browDownLeft,jawOpen,mouthFunnel\n0,0,0,0,0.1,0.2,0.3\n",
        "frame,_neutral,browDownLeft,jawOpen,mouthFunnel\n0,0,0.1,0.2,0.3\n",
        "frame,time,jawOpen,mouthFunnel\n0,0,0.2,0.3\n", "frame,time_s,face,name,score\n0,0,0,jawOpen,0.5\n",
        "[{\"timestamp\": 1700000000000, \"blendshapes\": [{\"name\": \"jawOpen\", \"score\": 0.5}]}]",
        "{\"faceBlendshapes\":[{\"categories\":[{\"index\":0,\"score\":0.5,\"categoryName\":\"jawOpen\"}]}]"
        "}"})
    EXPECT_EQ(InputErrorOf([&] { mien::ReadTake(text, "w"); }),
              "w: the file has shape weights (scores) and no landmarks, which are what is solved; put the "
              "weights onto a character with mien retarget, or store the landmarks (faceLandmarks) as well")
        << text;
}
