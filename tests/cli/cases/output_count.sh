readkit call getNumReferences --library "$library" --nlhs 2 --args '["small.bam"]'
