readkit call bamInfo --library "$library" --args '["missing.bam"]'
