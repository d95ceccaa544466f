readkit call bamIndex --library "$library" --args '["small.bam", "small.bam.bai"]'
readkit call getFeatures --library "$library" --args '["small.bam", "small.bam", ["Length"], 0,
  {"class": "uint32", "dims": [1, 1], "data": [1]},
  {"class": "uint32", "dims": [3, 1], "data": [9, 9, 99]}]'
