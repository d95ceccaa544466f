# Index a file, look at it, query a reference, get fields.
call() {
  function=$1
  shift
  readkit call "$function" --library "$library" "$@" || exit
}
call bamIndex --args '["small.bam", "small.bam.bai"]'
call getNumReferences --args '["small.bam"]'
call getReferenceID --args '["small.bam", "chr1"]'
call getReferenceID --args '["small.bam", "chr\udcff2"]'
call getReferenceID --args '["small.bam", "chr3"]'
call getReferenceString --args '["small.bam", 1]'
call getHeader --nlhs 3 --args '["small.bam"]'
call bamInfo --args '["small.bam"]'
call bamInfo --nlhs 2 --args '["small.bam"]'
call getStartsInReference --nlhs 3 --args '["small.bam", "small.bam", 0]'
call getFeatures --nlhs 11 --args '["small.bam", "small.bam",
  ["Flag", "Position", "MappingQuality", "MatePosition", "MateIndex", "QueryLength", "EndPosition",
   "Signature", "Sequence", "Header", "Quality"], 0,
  {"class": "uint32", "dims": [2, 1], "data": [2, 3]},
  {"class": "uint32", "dims": [3, 1], "data": [9, 9, 99]}]'
call getFeatureCountData --nlhs 9 --args '["small.bam", 0, false, false, 5]'
