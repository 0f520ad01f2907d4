"""The parts of the report: what `camera_parameters.report` puts together."""
